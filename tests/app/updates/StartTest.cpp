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

#include <filesystem>

namespace lumivert {
namespace {

std::ptrdiff_t count(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
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
    const auto descriptors = count("/proc/self/fd");
    UpdateDialog dialog;
    QtUpdateClock clock;
    fakes::FakePreferencesStore preferences;
    const auto engine = packageKitEngine("lumivert");
    SPUStandardUpdaterController controller({*engine, dialog, clock, preferences});
    QCoreApplication::processEvents();
    EXPECT_EQ(threadsSince(before), 0);
    EXPECT_EQ(count("/proc/self/fd"), descriptors);
}

} // namespace
} // namespace lumivert
