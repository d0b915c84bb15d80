#include "journey/JourneyWorld.h"

#include "platform/qt/MimeItemProviders.h"

namespace lumivert {

JourneyWorld::JourneyWorld(const TemporaryFolder& folder, const std::string& ppdFolder)
    : files(realFiles, "/etc/cups/ppd/", ppdFolder)
    , preferences(folder / "Lumivert.conf")
    , images({.path = LUMIVERT_DECODER, .screenEdge = [] { return 2048; }}) {}

Platform JourneyWorld::platform() {
    return {processes, files,      preferences, images, colorSpaces,
            pdf,       dispatcher, viewer,      uuids,  console};
}

AppServices JourneyWorld::appServices() {
    return {.platform = platform(),
            .updates = {updateEngine, updateWindow, updateClock, preferences},
            .providersOf = itemProviders,
            .firstWindowPainted = [this] { images.prepareSpare(); }};
}

} // namespace lumivert
