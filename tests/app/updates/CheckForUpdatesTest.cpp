#include "app/updates/CheckForUpdatesView.h"
#include "fakes/FakeServices.h"
#include "fakes/FakeUpdates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace lumivert {
namespace {

using testing::ElementsAre;

class CheckForUpdatesTest : public testing::Test {
protected:
    /// Runs what waits for the main thread; how many steps that were.
    std::size_t turn() {
        const std::size_t steps = dispatcher.onMain.size();
        dispatcher.runMain();
        return steps;
    }
    void beginCheck() { updater.checkForUpdates(); }
    void endCheck() { engine.endCheck(UpdateNotNeeded{"1.0"}); }

    fakes::FakeUpdateEngine engine;
    fakes::FakeUpdateWindow window;
    fakes::FakeUpdateClock clock;
    fakes::FakePreferencesStore preferences;
    SPUUpdater updater{{engine, window, clock, preferences}};
    fakes::FakeDispatcher dispatcher;
};

TEST_F(CheckForUpdatesTest, theModelStartsFalseAndFollowsOnTheNextTurn) {
    CheckForUpdatesViewModel model(updater, dispatcher);
    EXPECT_FALSE(model.canCheckForUpdates.get());
    EXPECT_EQ(turn(), 1U);
    EXPECT_TRUE(model.canCheckForUpdates.get());
}

TEST_F(CheckForUpdatesTest, theModelNeverChangesInsideTheUpdatersNotification) {
    CheckForUpdatesViewModel model(updater, dispatcher);
    turn();
    beginCheck();
    EXPECT_TRUE(model.canCheckForUpdates.get());
    turn();
    EXPECT_FALSE(model.canCheckForUpdates.get());
}

TEST_F(CheckForUpdatesTest, aBurstOfChangesEndsAtTheLatestValue) {
    CheckForUpdatesViewModel model(updater, dispatcher);
    beginCheck();
    endCheck();
    beginCheck();
    std::vector<bool> seen;
    const auto subscription =
        model.subscribe([&] { seen.push_back(model.canCheckForUpdates.get()); });
    EXPECT_EQ(turn(), 4U);
    EXPECT_THAT(seen, ElementsAre(false, false, false, false))
        << "each step reads the flag as it is then, not as it was";
}

TEST_F(CheckForUpdatesTest, aStepThatOutlivesTheModelHasNoEffect) {
    auto model = std::make_unique<CheckForUpdatesViewModel>(updater, dispatcher);
    beginCheck();
    model.reset();
    EXPECT_EQ(turn(), 2U);
}

TEST_F(CheckForUpdatesTest, theObservationEndsWithTheModel) {
    auto model = std::make_unique<CheckForUpdatesViewModel>(updater, dispatcher);
    model.reset();
    turn();
    beginCheck();
    EXPECT_EQ(turn(), 0U);
}

TEST_F(CheckForUpdatesTest, theItemSaysWhatItDoes) {
    const CheckForUpdatesView item(updater, dispatcher, nullptr);
    EXPECT_EQ(item.text(), QStringLiteral("Check for Updates\u2026"));
    EXPECT_TRUE(item.shortcut().isEmpty());
}

TEST_F(CheckForUpdatesTest, theItemIsGreyedOutWhileNoCheckMayStart) {
    CheckForUpdatesView item(updater, dispatcher, nullptr);
    EXPECT_FALSE(item.isEnabled());
    turn();
    EXPECT_TRUE(item.isEnabled());
    beginCheck();
    turn();
    EXPECT_FALSE(item.isEnabled());
    item.trigger();
    EXPECT_EQ(engine.checks.size(), 1U);
    endCheck();
    turn();
    EXPECT_TRUE(item.isEnabled());
}

TEST_F(CheckForUpdatesTest, theItemStartsACheck) {
    CheckForUpdatesView item(updater, dispatcher, nullptr);
    turn();
    item.trigger();
    EXPECT_EQ(engine.checks.size(), 1U);
}

} // namespace
} // namespace lumivert
