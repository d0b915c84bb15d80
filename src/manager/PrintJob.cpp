#include "manager/PageGeometry.h"
#include "manager/PrintManager.h"
#include "manager/Shell.h"
#include "platform/Dispatcher.h"
#include "platform/FileSystem.h"
#include "platform/Image.h"
#include "platform/PdfPage.h"

#include <algorithm>
#include <chrono>

namespace lumivert {
namespace {

using namespace std::chrono_literals;

// The print system has read the file when `lp` returns; the delay is for a slow spooler.
constexpr auto deletionDelay = 10s;

std::vector<RectPoints> marginBands(SizePoints page, const Margins& margins) {
    return {{0, page.height - margins.top, page.width, margins.top},
            {0, 0, page.width, margins.bottom},
            {0, 0, margins.left, page.height},
            {page.width - margins.right, 0, margins.right, page.height}};
}

} // namespace

std::optional<std::shared_ptr<const ColorSpace>> PrintManager::chosenColorSpace() const {
    const ICCProfile profile = selectedICCProfile();
    if (!profile.path)
        return nullptr;
    const auto contents = m_platform.files.readFile(*profile.path);
    if (!contents)
        return nullptr;
    const auto bytes = std::as_bytes(std::span(*contents));
    // Building one takes a process up to 40 ms.
    if (m_chosenColorSpace && std::ranges::equal(bytes, m_chosenColorSpace->profile.view))
        return m_chosenColorSpace;
    const auto space =
        m_platform.colorSpaceFromProfile(sharedBytes(Bytes(bytes.begin(), bytes.end())));
    m_chosenColorSpace = space.value_or(nullptr);
    return space;
}

bool PrintManager::renderPage(const std::string& path) const {
    const PaperSize paper = selectedPaperSize();
    // Never turned: orientation shows in the margins of an explicit image size alone.
    const SizePoints size{pointsFromMillimetres(paper.widthMM),
                          pointsFromMillimetres(paper.heightMM)};
    const Margins marginPoints = pointsFromMillimetres(effectiveMargins());
    const auto space = chosenColorSpace();
    if (!space)
        return false; // the profile may be a good one, and a sheet without it a wrong one
    PdfPage page{.size = size, .space = *space, .intent = renderingIntent};

    const RectPoints printable =
        borderless ? RectPoints{0, 0, size.width, size.height} : printableRect(size, marginPoints);
    // Margins that leave nothing of the sheet leave no place for the photo.
    const Bitmap* bitmap = hasArea(printable) ? (*image)->bitmap() : nullptr;
    if (bitmap) {
        const ScalingRule& scaling = scalingRule(scalingMode);
        const RectPoints drawn = scaling.onPage((*image)->size(), printable);
        const bool crops = !borderless && scaling.crops;
        if (const auto visible = crops ? intersection(drawn, printable) : std::optional(drawn)) {
            page.bitmap = bitmap;
            page.rect = *visible;
            if (crops)
                page.part = visiblePixels(bitmap->pixelSize(), drawn, *visible);
        }
    }
    if (!borderless)
        page.whiteAreas = marginBands(size, marginPoints);
    return m_platform.writePdf(path, page);
}

void PrintManager::sendToCUPS(bool dryRun) {
    if (!*image)
        return;
    const auto printer = selectedPrinter();
    if (!printer) {
        lastPrintError = "No printer selected";
        return;
    }

    const std::string path =
        m_platform.files.temporaryDirectory() + "/Lumivert_" + m_platform.randomUuid() + ".pdf";
    if (!renderPage(path)) {
        lastPrintError = "Could not create PDF context";
        return;
    }

    const PaperSize paper = selectedPaperSize();
    const std::string pageSizeName =
        borderless ? paper.cupsFullbleedName.value_or(paper.cupsName) : paper.cupsName;
    // The shell reads the path and the values as they stand; none is escaped.
    const std::string command = "lp -d " + printer->id + " -o PageSize=" + pageSizeName +
                                " -o MediaType=" + selectedPaperType().cupsMediaType +
                                " -o cupsPrintQuality=High \"" + path + "\"";
    m_platform.writeLine("Lumivert CUPS command: " + command);
    lastCUPSCommand = command;
    if (dryRun)
        m_platform.openFile(path);
    else
        print(command, path);
}

void PrintManager::print(const std::string& command, const std::string& path) {
    const auto result = runInShell(m_platform.runProcess, command);
    if (const auto* failure = std::get_if<LaunchFailure>(&result)) {
        lastPrintError = "Could not send to printer: " + failure->description;
        return;
    }
    const auto& outcome = std::get<ProcessOutcome>(result);
    if (outcome.exitStatus != 0) {
        lastPrintError = "Print failed: " + outcome.output;
        return;
    }
    lastPrintError = std::nullopt;
    // The services outlive this object; the file system's calls may be made on any thread.
    m_platform.dispatcher.asyncInBackground(
        deletionDelay, [&files = m_platform.files, path] { files.removeFile(path); });
}

} // namespace lumivert
