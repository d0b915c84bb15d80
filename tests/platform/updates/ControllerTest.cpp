#include "fakes/FakeServices.h"
#include "fakes/FakeUpdates.h"
#include "platform/updates/SPUStandardUpdaterController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivert {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class ControllerTest : public testing::Test {
protected:
    fakes::FakeUpdateEngine engine;
    fakes::FakeUpdateWindow window;
    fakes::FakeUpdateClock clock;
    fakes::FakePreferencesStore preferences;
    UpdateServices services{engine, window, clock, preferences};
};

TEST_F(ControllerTest, lendsAnUpdaterThatHasStarted) {
    SPUStandardUpdaterController controller(services);
    EXPECT_TRUE(controller.updater().canCheckForUpdates.get());
}

TEST_F(ControllerTest, remembersWhenItChecked) {
    SPUStandardUpdaterController controller(services);
    controller.updater().checkForUpdates();
    engine.endCheck(UpdateNotNeeded{"1.0"});
    EXPECT_EQ(preferences.data(SPUStandardUpdaterController::preferenceKey), "1800000000");
}

TEST_F(ControllerTest, checksOnScheduleFromTheSecondStartOn) {
    {
        SPUStandardUpdaterController first(services);
        clock.pass(10min);
        EXPECT_TRUE(engine.checks.empty());
    }
    SPUStandardUpdaterController second(services);
    clock.pass(10min);
    EXPECT_THAT(engine.checks, ElementsAre(UpdateCheckKind::scheduled));
    engine.endCheck(UpdateNotNeeded{"1.0"});
    clock.pass(23h);
    EXPECT_EQ(engine.checks.size(), 1U);
    clock.pass(2h);
    EXPECT_EQ(engine.checks.size(), 2U);
}

TEST_F(ControllerTest, tellsOfNewsEachDayUntilItIsInstalled) {
    preferences.setData(SPUStandardUpdaterController::preferenceKey, "0");
    SPUStandardUpdaterController controller(services);
    clock.pass(10min);
    engine.endCheck(AvailableUpdate{"id", "1.0", "1.1", {}});
    EXPECT_EQ(window.openings, 1);
    window.actions.dismiss();
    clock.pass(24h + 5min);
    ASSERT_EQ(engine.checks.size(), 2U);
    engine.endCheck(AvailableUpdate{"id", "1.0", "1.1", {}});
    EXPECT_EQ(window.openings, 2);
}

} // namespace
} // namespace lumivert
