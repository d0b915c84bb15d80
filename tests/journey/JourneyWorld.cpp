#include "journey/JourneyWorld.h"

#include "platform/pdf/PdfPageWriter.h"
#include "platform/posix/PosixFunctions.h"
#include "platform/qt/QtFunctions.h"

namespace lumivert {

JourneyWorld::JourneyWorld(const TemporaryFolder& folder, const std::string& ppdFolder)
    : files(realFiles, "/etc/cups/ppd/", ppdFolder)
    , preferences(folder / "Lumivert.conf")
    , images({.path = LUMIVERT_DECODER, .screenEdge = [] { return 2048; }}) {}

Platform JourneyWorld::platform() {
    return {runProcess,
            files,
            preferences,
            [this](const FileUrl& url) { return images.decode(url); },
            [this](SharedBytes profile) { return images.colorSpace(std::move(profile)); },
            writePdfPage,
            dispatcher,
            [this](const std::string& path) { opened.push_back(path); },
            randomUuid,
            writeLine};
}

AppServices JourneyWorld::appServices() {
    return {.platform = platform(),
            .updates = {updateEngine, updateWindow, updateClock, preferences},
            .providersOf = itemProviders,
            .firstWindowPainted = [this] { images.prepareSpare(); }};
}

} // namespace lumivert
