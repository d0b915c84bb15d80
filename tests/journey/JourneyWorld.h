#pragma once

#include "app/LumivertApp.h"
#include "fakes/FakeUpdates.h"
#include "platform/decoder/DecoderClient.h"
#include "platform/posix/PosixFileSystem.h"
#include "platform/qt/QtDispatcher.h"
#include "platform/qt/QtPreferencesStore.h"
#include "support/RedirectedFileSystem.h"
#include "support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace lumivert {

/// The real services, with three differences: PPDs are read from `ppdFolder`, files go to the test
/// instead of the desktop's viewer, and no package service is asked for updates. Preferences lie in
/// `folder`.
struct JourneyWorld {
    JourneyWorld(const TemporaryFolder& folder, const std::string& ppdFolder);

    PosixFileSystem realFiles;
    RedirectedFileSystem files;
    QtPreferencesStore preferences;
    /// What the desktop's viewer would have been given.
    std::vector<std::string> opened;
    fakes::FakeUpdateEngine updateEngine;
    fakes::FakeUpdateWindow updateWindow;
    fakes::FakeUpdateClock updateClock;
    QtDispatcher dispatcher;
    // Its answers use the dispatcher.
    DecoderClient images;

    [[nodiscard]] Platform platform();
    [[nodiscard]] AppServices appServices();
};

} // namespace lumivert
