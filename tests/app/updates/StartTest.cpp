#include "app/updates/CheckForUpdatesView.h"
#include "app/updates/UpdateDialog.h"
#include "fakes/FakeServices.h"
#include "platform/packagekit/PackageKitEngine.h"
#include "platform/qt/QtDispatcher.h"
#include "platform/qt/QtUpdateClock.h"
#include "platform/updates/SPUStandardUpdaterController.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace lumivert {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

std::ptrdiff_t count(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

/// How long everything of the updates takes from its construction to the end of the first turn of
/// the event loop.
steady_clock::duration startOnce(const std::string& busAddress) {
    const auto begin = steady_clock::now();
    UpdateDialog dialog;
    QtUpdateClock clock;
    fakes::FakePreferencesStore preferences;
    QtDispatcher dispatcher;
    PackageKitEngine engine("lumivert", busAddress);
    SPUStandardUpdaterController controller(true, {engine, dialog, clock, preferences});
    CheckForUpdatesView item(controller.updater(), dispatcher, nullptr);
    QCoreApplication::processEvents();
    const auto length = steady_clock::now() - begin;
    EXPECT_TRUE(item.isEnabled());
    EXPECT_EQ(preferences.writes, 0);
    return length;
}

TEST(UpdateStart, takesLessThanTwoMillisecondsWithAndWithoutABus) {
    for (const std::string address : {"", "unix:path=/nonexistent/lumivert-bus"}) {
        // The shortest of several: other programs may have had the processor meanwhile.
        auto shortest = steady_clock::duration::max();
        for (int i = 0; i < 20; ++i)
            shortest = std::min(shortest, startOnce(address));
        RecordProperty(
            address.empty() ? "systemBusMicroseconds" : "noBusMicroseconds",
            static_cast<int>(
                std::chrono::duration_cast<std::chrono::microseconds>(shortest).count()));
        EXPECT_LT(shortest, 2ms) << address;
    }
}

TEST(UpdateStart, connectsNothingAndStartsNoThread) {
    startOnce({});
    const auto threads = count("/proc/self/task");
    const auto descriptors = count("/proc/self/fd");
    UpdateDialog dialog;
    QtUpdateClock clock;
    fakes::FakePreferencesStore preferences;
    PackageKitEngine engine("lumivert");
    SPUStandardUpdaterController controller(true, {engine, dialog, clock, preferences});
    QCoreApplication::processEvents();
    EXPECT_EQ(count("/proc/self/task"), threads);
    EXPECT_EQ(count("/proc/self/fd"), descriptors);
}

} // namespace
} // namespace lumivert
