#include "fakes/FakeServices.h"
#include "fakes/FakeUpdates.h"
#include "platform/updates/SPUUpdater.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>

namespace lumivert {
namespace {

using namespace std::chrono_literals;

class UpdateScheduleTest : public testing::Test {
protected:
    std::optional<std::string> stored() { return preferences.data("LastUpdateCheck"); }
    void store(std::chrono::seconds ago) {
        preferences.setData("LastUpdateCheck",
                            std::to_string((clock.time - ago).time_since_epoch().count()));
    }
    void start() { updater.emplace(services); }
    /// The checks that nobody asked for.
    std::ptrdiff_t checks() {
        return std::ranges::count(engine.checks, UpdateCheckKind::scheduled);
    }
    void answer() { engine.endCheck(UpdateNotNeeded{"1.0"}); }
    void askAndAnswer() {
        updater->checkForUpdates();
        answer();
        window.onDismiss();
    }

    fakes::FakeUpdateEngine engine;
    fakes::FakeUpdateWindow window;
    fakes::FakeUpdateClock clock;
    fakes::FakePreferencesStore preferences;
    const UpdateServices services{engine, window, clock, preferences};
    std::optional<SPUUpdater> updater;
};

TEST_F(UpdateScheduleTest, touchesNothingWhileTheProgramStarts) {
    start();
    clock.pass(4s);
    EXPECT_EQ(preferences.writes, 0);
}

TEST_F(UpdateScheduleTest, theFirstStartOnlyLeavesItsMark) {
    start();
    clock.pass(48h);
    EXPECT_EQ(checks(), 0);
    EXPECT_EQ(stored(), "0");
}

TEST_F(UpdateScheduleTest, anAskedForCheckInTheFirstStartSchedulesNoneThere) {
    start();
    clock.pass(1s);
    askAndAnswer();
    clock.pass(72h);
    EXPECT_EQ(checks(), 0);
    EXPECT_EQ(stored(), "1800000001");
}

TEST_F(UpdateScheduleTest, theSecondStartChecksAfterARandomDelay) {
    preferences.setData("LastUpdateCheck", "0");
    clock.chance = 100s;
    start();
    clock.pass(104s);
    EXPECT_EQ(checks(), 0);
    clock.pass(1s);
    EXPECT_EQ(checks(), 1);
}

TEST_F(UpdateScheduleTest, theDelayLiesBetweenTwentySecondsAndFiveMinutes) {
    preferences.setData("LastUpdateCheck", "0");
    clock.chance = 0s;
    start();
    clock.pass(24s);
    EXPECT_EQ(checks(), 0);
    clock.pass(1s);
    EXPECT_EQ(checks(), 1);
    clock.chance = 24h;
    start();
    clock.pass(304s);
    EXPECT_EQ(checks(), 1);
    clock.pass(1s);
    EXPECT_EQ(checks(), 2);
}

TEST_F(UpdateScheduleTest, checksADayAfterTheLastOne) {
    store(20h);
    start();
    clock.pass(4h + 59s);
    EXPECT_EQ(checks(), 0);
    clock.pass(1s);
    EXPECT_EQ(checks(), 1);
    answer();
    EXPECT_EQ(stored(), std::to_string(clock.time.time_since_epoch().count()));
    clock.pass(24h + 59s);
    EXPECT_EQ(checks(), 1);
    clock.pass(1s);
    EXPECT_EQ(checks(), 2);
}

TEST_F(UpdateScheduleTest, anAskedForCheckCountsToo) {
    store(23h);
    start();
    clock.pass(30min);
    askAndAnswer();
    clock.pass(24h);
    EXPECT_EQ(checks(), 0);
    clock.pass(1min);
    EXPECT_EQ(checks(), 1);
}

TEST_F(UpdateScheduleTest, triesAgainInAnHourWhenItLearnedNothing) {
    store(48h);
    start();
    clock.pass(5min);
    ASSERT_EQ(checks(), 1);
    const auto before = stored();
    engine.endCheck(UpdateFailed{UpdateProblem::noNetwork, {}});
    EXPECT_EQ(stored(), before);
    clock.pass(1h);
    EXPECT_EQ(checks(), 1);
    clock.pass(1min);
    EXPECT_EQ(checks(), 2);
}

TEST_F(UpdateScheduleTest, countsTheTimeThatTheMachineSleeps) {
    store(1h);
    start();
    clock.pass(10s);
    clock.sleep(23h);
    clock.pass(1h + 1s);
    EXPECT_EQ(checks(), 1);
}

TEST_F(UpdateScheduleTest, doesNotWaitForAClockThatWasAYearAhead) {
    store(1h);
    start();
    clock.pass(10s);
    clock.time -= 24h * 365;
    clock.pass(2h);
    EXPECT_EQ(checks(), 1);
}

TEST_F(UpdateScheduleTest, aValueThatMakesNoSenseCountsAsNever) {
    for (const char* text :
         {"", "yesterday", "-5", "12x", " 12", "99999999999999999999", "9000000000"}) {
        preferences.setData("LastUpdateCheck", text);
        engine.checks.clear();
        start();
        clock.pass(5min);
        EXPECT_EQ(checks(), 1) << text;
    }
}

TEST_F(UpdateScheduleTest, waitsForADayWhenAskingAgainCouldNotHelp) {
    store(48h);
    start();
    clock.pass(5min);
    ASSERT_EQ(checks(), 1);
    engine.endCheck(UpdateFailed{UpdateProblem::notFromRepository, {}});
    clock.pass(23h);
    EXPECT_EQ(checks(), 1);
    clock.pass(2h);
    EXPECT_EQ(checks(), 2);
}

TEST_F(UpdateScheduleTest, waitsWhileTheWindowOrTheEngineIsInUse) {
    store(48h);
    start();
    updater->checkForUpdates();
    clock.pass(26h);
    const AvailableUpdate newer{"id", "1.0", "1.1", {}};
    engine.endCheck(newer);
    clock.pass(26h);
    EXPECT_EQ(engine.checks.size(), 1U);
    EXPECT_TRUE(window.shows<AvailableUpdate>());
    window.onDismiss();
    clock.pass(2h);
    EXPECT_EQ(checks(), 1);
}

TEST_F(UpdateScheduleTest, waitsForAnInstallationBehindAClosedWindow) {
    store(48h);
    start();
    updater->checkForUpdates();
    engine.endCheck(AvailableUpdate{"id", "1.0", "1.1", {}});
    window.onInstall();
    window.onDismiss();
    clock.pass(26h);
    EXPECT_EQ(engine.checks.size(), 1U);
}

TEST_F(UpdateScheduleTest, tellsOfNewsEachDayUntilItIsInstalled) {
    preferences.setData("LastUpdateCheck", "0");
    start();
    clock.pass(6min);
    engine.endCheck(AvailableUpdate{"id", "1.0", "1.1", {}});
    EXPECT_EQ(window.openings, 1);
    window.onDismiss();
    clock.pass(24h + 5min);
    ASSERT_EQ(checks(), 2);
    engine.endCheck(AvailableUpdate{"id", "1.0", "1.1", {}});
    EXPECT_EQ(window.openings, 2);
}

TEST_F(UpdateScheduleTest, destroyedItLeavesNoAlarm) {
    preferences.setData("LastUpdateCheck", "0");
    start();
    updater.reset();
    EXPECT_EQ(clock.alarmCount(), 0U);
}

} // namespace
} // namespace lumivert
