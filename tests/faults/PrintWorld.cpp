#include "faults/PrintWorld.h"

#include "journey/TestPhoto.h"
#include "platform/PreferencesStore.h"
#include "platform/posix/PosixFunctions.h"

#include <QColorSpace>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace lumivert {

namespace fs = std::filesystem;

PrintWorld::PrintWorld(PrivateScheduler& given)
    : scheduler(given)
    , m_temporary("TMPDIR", temporary)
    , m_data("XDG_DATA_HOME", folder / "data")
    , m_path("PATH", tools + ":" + std::getenv("PATH"))
    , m_services(std::make_unique<JourneyWorld>(folder, folder / "ppd/")) {
    fs::create_directories(temporary);
    fs::create_directories(tools);
    fs::create_directories(folder / "photos");
    fs::create_directories(folder / "ppd");
    fs::copy_file(PrivateScheduler::photoPpd(), ppd);
    writeTestPhoto(photo, {600, 400}, 150);
    folder.write("data/icc/paper.icc",
                 QColorSpace(QColorSpace::AdobeRgb).iccProfile().toStdString());
    scheduler.addQueue(queue);

    const Platform platform = m_services->platform();
    m_manager = std::make_unique<PrintManager>(
        Platform{[this](const auto& executable, const auto& arguments) {
                     return runProcess(executable == "/bin/zsh" ? shell : executable, arguments);
                 },
                 platform.files, platform.preferences, platform.decodeImage,
                 platform.colorSpaceFromProfile, platform.writePdf, platform.dispatcher,
                 platform.openFile, platform.randomUuid, [](const std::string&) {}});
    m_manager->selectedICCProfileID = profile;
    m_manager->loadImage(FileUrl::fromPath(photo));
    if (!*m_manager->image || m_manager->selectedICCProfile().path != profile ||
        m_manager->selectedPrinterID.get() != queue)
        throw std::runtime_error("this world cannot print");
}

PrintWorld::~PrintWorld() {
    try {
        scheduler.removeQueue(queue);
    } catch (const std::runtime_error&) {
        // The queue, or the scheduler, may be what the test took away.
    }
}

std::string PrintWorld::print() {
    m_manager->lastPrintError = std::nullopt;
    m_manager->sendToCUPS(false);
    return m_manager->lastPrintError->value_or("");
}

std::optional<std::string> PrintWorld::arrived() {
    auto page = scheduler.takeOutput(queue);
    // The print system gives each file an identity of its own.
    if (page)
        if (const auto identity = page->rfind("/ID"); identity != std::string::npos)
            page->erase(identity, page->find(']', identity) - identity);
    return page;
}

std::size_t PrintWorld::pages() const {
    std::size_t count = 0;
    std::error_code missing;
    for (const auto& entry : fs::directory_iterator(temporary, missing))
        count += entry.path().filename().string().starts_with("Lumivert_") ? 1 : 0;
    return count;
}

void PrintWorld::quit() {
    m_manager.reset();
    m_services.reset();
}

void PrintWorld::replaceTool(const std::string& name, const std::string& script) {
    const std::string path = folder.write("tools/" + name, "#!/bin/sh\n" + script + "\n");
    fs::permissions(path, fs::perms(0755));
}

void PrintWorld::run(const std::string& tool, const std::vector<std::string>& arguments) {
    const auto result = runProcess(tool, arguments);
    const auto* outcome = std::get_if<ProcessOutcome>(&result);
    if (!outcome || outcome->exitStatus != 0)
        throw std::runtime_error(tool + " failed" + (outcome ? ": " + outcome->output : ""));
}

} // namespace lumivert
