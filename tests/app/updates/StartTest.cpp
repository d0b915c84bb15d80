#include "app/updates/CheckForUpdatesView.h"
#include "app/updates/UpdateDialog.h"
#include "fakes/FakeServices.h"
#include "platform/packagekit/PackageKitEngine.h"
#include "platform/qt/QtDispatcher.h"
#include "platform/qt/QtUpdateClock.h"
#include "platform/updates/SPUStandardUpdaterController.h"
#include "support/Threads.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace lumivert {
namespace {

/// Of this process, when none has come or gone for a while: a thread that a library keeps opens its
/// own when it gets to run.
std::ptrdiff_t descriptors() {
    const auto count = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    std::ptrdiff_t result = count();
    for (int calm = 0; calm < 10; ++calm) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (const std::ptrdiff_t now = count(); now != result) {
            result = now;
            calm = 0;
        }
    }
    return result;
}

/// Everything of the updates, to the end of the first turn of the event loop.
void startOnce(const std::string& busAddress) {
    UpdateDialog dialog;
    QtUpdateClock clock;
    fakes::FakePreferencesStore preferences;
    QtDispatcher dispatcher;
    const auto engine = packageKitEngine("lumivert", busAddress);
    SPUStandardUpdaterController controller({*engine, dialog, clock, preferences});
    CheckForUpdatesView item(controller.updater(), dispatcher, nullptr);
    QCoreApplication::processEvents();
    EXPECT_TRUE(item.isEnabled());
    EXPECT_EQ(preferences.writes, 0);
}

TEST(UpdateStart, offersToCheckWithAndWithoutABus) {
    startOnce("");
    startOnce("unix:path=/nonexistent/lumivert-bus");
}

TEST(UpdateStart, connectsNothingAndStartsNoThread) {
    startOnce({});
    const auto before = threads();
    const std::ptrdiff_t opened = descriptors();
    UpdateDialog dialog;
    QtUpdateClock clock;
    fakes::FakePreferencesStore preferences;
    const auto engine = packageKitEngine("lumivert");
    SPUStandardUpdaterController controller({*engine, dialog, clock, preferences});
    QCoreApplication::processEvents();
    EXPECT_EQ(threadsSince(before), 0);
    EXPECT_EQ(descriptors(), opened);
}

} // namespace
} // namespace lumivert
