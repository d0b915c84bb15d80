#include "Pages.h"

#include "BenchWorld.h"
#include "Timing.h"
#include "manager/PrintManager.h"

#include <QImage>
#include <QPainter>
#include <QPdfWriter>

#include <array>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace lumivert::bench {
namespace {

void prepare(PrintManager& pm, const std::string& photo, const std::string& profile) {
    pm.availablePrinters = {{"Q", "Q"}};
    pm.selectedPrinterID = "Q";
    pm.loadImage(FileUrl::fromPath(photo));
    if (!*pm.image)
        throw std::runtime_error(photo + " did not load");
    if (profile.empty())
        return;
    pm.availableICCProfiles = {{profile, "bench", profile, true}};
    pm.selectedICCProfileID = profile;
}

Seconds page(PrintManager& pm) {
    const Seconds seconds = timed([&] { pm.sendToCUPS(true); });
    if (pm.lastPrintError->has_value())
        throw std::runtime_error(**pm.lastPrintError);
    return seconds;
}

// Reads and writes through a buffer, as a page does; no process is started.
void copyFile(const std::string& from, const std::string& to) {
    static std::array<char, 1 << 20> buffer;
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (in < 0 || out < 0)
        throw std::runtime_error("the copy could not be opened");
    for (ssize_t n = 0; (n = ::read(in, buffer.data(), buffer.size())) > 0;)
        if (::write(out, buffer.data(), static_cast<std::size_t>(n)) != n)
            throw std::runtime_error("the copy failed");
    ::close(in);
    ::close(out);
    ::unlink(to.c_str());
}

void qtPage(const std::string& photo, const std::string& to) {
    QPdfWriter writer(QString::fromStdString(to));
    writer.setPageSize(QPageSize(QPageSize::A4));
    QPainter painter(&writer);
    painter.setRenderHint(QPainter::LosslessImageRendering);
    painter.drawImage(QRectF(0, 0, writer.width(), writer.height()),
                      QImage(QString::fromStdString(photo)));
}

std::vector<std::string> iccTransform(const std::string& photo, const std::string& profile,
                                      const std::string& to) {
    return {"vips", "icc_transform", photo, to, profile, "--input-profile", "srgb"};
}

} // namespace

void benchPages(const BenchFiles& files) {
    BenchWorld world;
    PrintManager pm(world.appServices().platform);
    const std::string scratch = files.scratch + "/out";
    const auto row = [&](const std::string& work, const std::string& against, int pairs,
                         const std::function<Seconds()>& theirs, double limit) {
        const Comparison c = compare(
            pairs, [&] { return page(pm); }, theirs);
        printRow(work, against, milliseconds(c.ours) + " : " + milliseconds(c.theirs), c.ratio,
                 limit, " x");
    };
    const auto process = [](const std::vector<std::string>& command) {
        return [command] { return timedProcess(command); };
    };

    const std::string managed = "page PDF, printer managed, 45 MP JPEG";
    if (isWanted(managed)) {
        prepare(pm, files.jpeg45, "");
        row(
            managed, "copying the JPEG file", 9,
            [&] { return timed([&] { copyFile(files.jpeg45, scratch + ".jpg"); }); }, 3);
        row(managed, "`img2pdf`, whole process", 5,
            process({"img2pdf", files.jpeg45, "-o", scratch + ".pdf"}), 0.25);
    }

    struct Profiled {
        std::string photo;
        std::string file;
        std::string kind;
        std::string profile;
        int pairs;
        double limit;
    };
    for (const Profiled& p : std::initializer_list<Profiled>{
             {"45 MP JPEG", files.jpeg45, "matrix", files.profile, 7, 1.3},
             {"45 MP JPEG", files.jpeg45, "RGB table", files.tableRgb, 5, 1.2},
             {"45 MP JPEG", files.jpeg45, "CMYK table", files.tableCmyk, 5, 1.2},
             {"45 MP TIFF of 8 bits", files.tiff45of8, "matrix", files.profile, 5, 1.3},
             {"45 MP TIFF of 8 bits", files.tiff45of8, "RGB table", files.tableRgb, 5, 1.6},
             {"45 MP TIFF of 8 bits", files.tiff45of8, "CMYK table", files.tableCmyk, 5, 1.6},
             {"45 MP TIFF of 16 bits", files.tiff45, "matrix", files.profile, 5, 1.3},
             {"45 MP TIFF of 16 bits", files.tiff45, "RGB table", files.tableRgb, 5, 1.7},
             {"45 MP TIFF of 16 bits", files.tiff45, "CMYK table", files.tableCmyk, 5, 1.7},
             {"100 MP JPEG", files.jpeg100, "matrix", files.profile, 3, 1.3}}) {
        const std::string work = "page PDF, " + p.kind + " profile, " + p.photo;
        if (!isWanted(work))
            continue;
        prepare(pm, p.file, p.profile);
        row(work, "`vips icc_transform` to an uncompressed file, whole process", p.pairs,
            process(iccTransform(p.file, p.profile, scratch + ".v")), p.limit);
    }
    for (const auto& [kind, profile] :
         {std::pair("matrix", files.profile), std::pair("RGB table", files.tableRgb)}) {
        const std::string work = std::string("page PDF, ") + kind + " profile, 45 MP camera RAW";
        if (!isWanted(work))
            continue;
        prepare(pm, files.raw45, profile);
        row(work, "`dcraw_emu -4`, whole process", 5,
            process({"dcraw_emu", "-w", "-o", "4", "-4", "-Z", "-", files.raw45}), 1.5);
    }

    const std::string lossless = "page PDF, matrix profile, 45 MP JPEG, lossless";
    if (isWanted(lossless)) {
        prepare(pm, files.jpeg45, files.profile);
        row(
            lossless, "Qt's PDF writer, lossless, no conversion", 3,
            [&] { return timed([&] { qtPage(files.jpeg45, scratch + ".pdf"); }); }, 0.2);
    }
    const std::string cropped = "page PDF, fill with margins (crop), 45 MP JPEG";
    if (isWanted(cropped)) {
        prepare(pm, files.jpeg45, "");
        pm.selectedICCProfileID = "printer_managed";
        pm.scalingMode = ScalingMode::fillPage;
        row(cropped, "`vips` decode alone", 7, process({"vips", "avg", files.jpeg45}), 2);
    }
    ::unlink((scratch + ".v").c_str());
    ::unlink((scratch + ".pdf").c_str());
}

void makeOnePage(const std::string& photo, const std::string& profile) {
    BenchWorld world;
    PrintManager pm(world.appServices().platform);
    prepare(pm, photo, profile);
    (void)page(pm);
}

} // namespace lumivert::bench
