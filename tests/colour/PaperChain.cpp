#include "colour/PaperChain.h"

#include "platform/Platform.h"
#include "platform/pdf/PdfPageWriter.h"
#include "platform/posix/PosixFunctions.h"
#include "platform/qt/QtFunctions.h"

#include <stdexcept>

namespace lumivert {

PaperChain::PaperChain()
    : m_images({.path = LUMIVERT_DECODER, .screenEdge = [] { return 256; }}) {
    addQueue("rgb", "RGB");
    addQueue("grey", "Gray");
    addQueue("inks", "CMYK");
    m_manager = std::make_unique<PrintManager>(
        Platform{runProcess, m_files, m_preferences,
                 [this](const FileUrl& url) { return m_images.decode(url); },
                 [this](SharedBytes profile) { return m_images.colorSpace(std::move(profile)); },
                 writePdfPage, m_dispatcher, [this](const std::string& path) { m_page = path; },
                 randomUuid, [](const std::string&) {}});
}

PaperChain& PaperChain::shared() {
    static PaperChain chain;
    return chain;
}

void PaperChain::addQueue(const std::string& queue, const std::string& colorModel) {
    m_scheduler.addQueue(queue, PrivateScheduler::rasterPpd());
    m_scheduler.setOption(queue, "ColorModel", colorModel);
}

void PaperChain::addQueueWithProfile(const std::string& queue, const std::string& profile) {
    const std::string profileFile = m_folder.write("queue-profiles/" + queue + ".icc", profile);
    const std::string ppd = m_realFiles.readFile(PrivateScheduler::rasterPpd()).value() +
                            "*cupsICCProfile RGB.Glossy./Its own: \"" + profileFile + "\"\n";
    m_scheduler.addQueue(queue, m_folder.write("queue-profiles/" + queue + ".ppd", ppd));
    m_manager->detectPrinters();
}

void PaperChain::setLpOption(const std::string& queue, const std::string& option) {
    run("/usr/bin/lpoptions", {"-p", queue, "-o", option});
}

void PaperChain::prepare(const Job& job) {
    PrintManager& manager = *m_manager;
    manager.selectedPrinterID = job.queue;
    manager.loadPaperSizes(job.queue);
    manager.loadMediaTypes(job.queue);
    manager.selectedICCProfileID = "printer_managed";
    if (!job.profile.empty())
        // The scan at the photo's load finds it.
        manager.selectedICCProfileID =
            m_folder.write("data/icc/" + std::to_string(m_profileCount++) + ".icc", job.profile);
    manager.renderingIntent = job.intent;
    manager.borderless = job.margin == 0;
    manager.margins = Margins{job.margin, job.margin, job.margin, job.margin};
    manager.scalingMode = ScalingMode::fillPage;
    manager.image = nullptr;
    manager.loadImage(FileUrl::fromPath(job.photo));
    if (!*manager.image)
        throw std::runtime_error("the photo does not decode: " + job.photo);
    if (!job.profile.empty() && !manager.selectedICCProfile().path)
        throw std::runtime_error("the profile is not found");
    if (manager.selectedPaperSize().cupsName != "4x6" || manager.selectedPrinter()->id != job.queue)
        throw std::runtime_error("the queue is not found");
}

CupsRaster PaperChain::print(const Job& job) {
    prepare(job);
    m_manager->sendToCUPS(false);
    if (*m_manager->lastPrintError)
        throw std::runtime_error(**m_manager->lastPrintError);
    for (const auto& [delay, deletePage] : m_dispatcher.inBackground)
        deletePage();
    m_dispatcher.inBackground.clear();
    return arrived(job.queue);
}

std::string PaperChain::page(const Job& job) {
    prepare(job);
    m_page.clear();
    m_manager->sendToCUPS(true);
    if (m_page.empty())
        throw std::runtime_error("no page was made");
    return m_page;
}

CupsRaster PaperChain::printFile(const std::string& path, const std::string& queue) {
    run("/usr/bin/lp", {"-d", queue, "-o", "PageSize=4x6", "-o", "cupsPrintQuality=High", path});
    return arrived(queue);
}

CupsRaster PaperChain::arrived(const std::string& queue) {
    const auto stream = m_scheduler.takeOutput(queue);
    if (!stream)
        throw std::runtime_error("nothing arrived: " + m_scheduler.log());
    return readCupsRaster(*stream);
}

void PaperChain::run(const std::string& tool, const std::vector<std::string>& arguments) {
    const auto result = runProcess(tool, arguments);
    const auto* outcome = std::get_if<ProcessOutcome>(&result);
    if (!outcome || outcome->exitStatus != 0)
        throw std::runtime_error(tool + " failed" + (outcome ? ": " + outcome->output : ""));
}

} // namespace lumivert
