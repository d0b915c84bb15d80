#include "platform/updates/SPUUpdater.h"

#include "fakes/FakeServices.h"
#include "fakes/FakeUpdates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace lumivert {
namespace {

using namespace std::chrono_literals;
using fakes::FakeUpdateClock;
using fakes::FakeUpdateEngine;
using fakes::FakeUpdateWindow;
using testing::ElementsAre;
using Attention = UpdateWindow::Attention;

const AvailableUpdate newer{"lumivert;1.1;amd64;test", "1.0", "1.1", "Finer margins."};
const UpdateFailed noNetwork{UpdateProblem::noNetwork, "why"};

class SPUUpdaterTest : public testing::Test {
protected:
    SPUUpdaterTest() { preferences.setData(SPUUpdater::preferenceKey, "0"); }

    /// Lets minutes pass until the next check on schedule has begun.
    void checkQuietly() {
        const auto before = engine.checks.size();
        for (int minute = 0; engine.checks.size() == before && minute < 25 * 60; ++minute)
            clock.pass(1min);
        ASSERT_EQ(engine.checks.size(), before + 1);
    }
    /// When a check was last answered, as the preferences have it.
    std::string lastAnswer() { return preferences.data(SPUUpdater::preferenceKey).value(); }

    FakeUpdateEngine engine;
    FakeUpdateWindow window;
    FakeUpdateClock clock;
    fakes::FakePreferencesStore preferences;
    std::unique_ptr<SPUUpdater> updater =
        std::make_unique<SPUUpdater>(UpdateServices{engine, window, clock, preferences});
};

TEST_F(SPUUpdaterTest, showsThatItChecksAndThenThatAllIsUpToDate) {
    updater->checkForUpdates();
    EXPECT_THAT(engine.checks, ElementsAre(UpdateCheckKind::asked));
    EXPECT_TRUE(window.shows<UpdateChecking>());
    engine.endCheck(UpdateNotNeeded{"1.0"});
    ASSERT_TRUE(window.shows<UpdateNotNeeded>());
    EXPECT_EQ(window.shows<UpdateNotNeeded>()->installedVersion, "1.0");
    EXPECT_EQ(lastAnswer(), "1800000000");
    EXPECT_EQ(window.openings, 1);
}

TEST_F(SPUUpdaterTest, showsHowFarTheCheckIs) {
    updater->checkForUpdates();
    engine.onState(UpdateChecking{{UpdateActivity::working, 40}});
    ASSERT_TRUE(window.shows<UpdateChecking>());
    EXPECT_EQ(window.shows<UpdateChecking>()->progress.percent, 40);
}

TEST_F(SPUUpdaterTest, mayCheckIsFalseFromStartToEndWhateverTheEnd) {
    const std::vector<UpdateState> ends{UpdateNotNeeded{"1.0"}, newer, noNetwork,
                                        UpdateUnanswered{}};
    for (const UpdateState& end : ends) {
        EXPECT_TRUE(updater->canCheckForUpdates.get()) << end.index();
        updater->checkForUpdates();
        EXPECT_FALSE(updater->canCheckForUpdates.get()) << end.index();
        engine.endCheck(end);
        EXPECT_TRUE(updater->canCheckForUpdates.get()) << end.index();
        window.onDismiss();

        checkQuietly();
        EXPECT_FALSE(updater->canCheckForUpdates.get()) << end.index();
        engine.endCheck(end);
        EXPECT_TRUE(updater->canCheckForUpdates.get()) << end.index();
        window.onDismiss();
    }
}

TEST_F(SPUUpdaterTest, bringsTheRunningWindowToTheFrontInsteadOfASecond) {
    updater->checkForUpdates();
    updater->checkForUpdates();
    EXPECT_EQ(engine.checks.size(), 1U);
    EXPECT_EQ(window.openings, 1);
    EXPECT_THAT(window.attentions, ElementsAre(Attention::toFront, Attention::toFront));
}

TEST_F(SPUUpdaterTest, checksAgainInTheOpenWindow) {
    updater->checkForUpdates();
    engine.endCheck(noNetwork);
    updater->checkForUpdates();
    EXPECT_TRUE(window.shows<UpdateChecking>());
    EXPECT_EQ(window.openings, 1);
    EXPECT_EQ(window.attentions.back(), Attention::toFront);
}

TEST_F(SPUUpdaterTest, cancelClosesTheWindowAtOnce) {
    updater->checkForUpdates();
    window.onDismiss();
    EXPECT_FALSE(window.open);
    EXPECT_TRUE(engine.cancelled());
    EXPECT_FALSE(updater->canCheckForUpdates.get());
    engine.onState(UpdateChecking{{UpdateActivity::working, 40}});
    engine.turn();
    EXPECT_TRUE(updater->canCheckForUpdates.get());
    EXPECT_FALSE(window.open);
    EXPECT_EQ(lastAnswer(), "0");
}

TEST_F(SPUUpdaterTest, showsWhyACheckFailed) {
    updater->checkForUpdates();
    engine.endCheck(noNetwork);
    ASSERT_TRUE(window.shows<UpdateFailed>());
    EXPECT_EQ(*window.shows<UpdateFailed>(), noNetwork);
    EXPECT_EQ(lastAnswer(), "0");
    window.onDismiss();
    EXPECT_FALSE(window.open);
}

TEST_F(SPUUpdaterTest, installsWhatItFound) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    ASSERT_TRUE(window.shows<AvailableUpdate>());
    window.onInstall();
    EXPECT_THAT(engine.installs, ElementsAre(newer));
    EXPECT_FALSE(updater->canCheckForUpdates.get());
    engine.onState(UpdateInstalling{"1.1", {UpdateActivity::waitingForPermission, {}}});
    ASSERT_TRUE(window.shows<UpdateInstalling>());
    EXPECT_EQ(*window.shows<UpdateInstalling>(),
              (UpdateInstalling{"1.1", {UpdateActivity::waitingForPermission, {}}}));
    engine.onState(UpdateInstalled{"1.1"});
    EXPECT_TRUE(window.shows<UpdateInstalled>());
    EXPECT_TRUE(updater->canCheckForUpdates.get());
}

TEST_F(SPUUpdaterTest, laterInstallsNothing) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.onDismiss();
    EXPECT_FALSE(window.open);
    window.onInstall(); // a click that was on its way
    EXPECT_TRUE(engine.installs.empty());
    EXPECT_TRUE(updater->canCheckForUpdates.get());
}

TEST_F(SPUUpdaterTest, installsOnceHoweverOftenItIsPressed) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.onInstall();
    window.onInstall();
    EXPECT_EQ(engine.installs.size(), 1U);
}

TEST_F(SPUUpdaterTest, showsWhyAnInstallationFailed) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.onInstall();
    engine.onState(UpdateFailed{UpdateProblem::untrusted, {}, true});
    ASSERT_TRUE(window.shows<UpdateFailed>());
    EXPECT_TRUE(window.shows<UpdateFailed>()->installing);
    EXPECT_TRUE(updater->canCheckForUpdates.get());
}

TEST_F(SPUUpdaterTest, anInstallationGoesOnBehindAClosedWindowAndTellsItsEnd) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.onInstall();
    window.onDismiss();
    EXPECT_FALSE(engine.cancelled());
    EXPECT_FALSE(updater->canCheckForUpdates.get());
    engine.onState(UpdateInstalling{"1.1", {UpdateActivity::working, 50}});
    EXPECT_FALSE(window.open);
    engine.onState(UpdateInstalled{"1.1"});
    EXPECT_TRUE(window.shows<UpdateInstalled>());
    EXPECT_EQ(window.attentions.back(), Attention::quiet);
}

TEST_F(SPUUpdaterTest, opensTheClosedWindowOfAnInstallationWhenAsked) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.onInstall();
    window.onDismiss();
    updater->checkForUpdates();
    EXPECT_TRUE(window.shows<UpdateInstalling>());
    EXPECT_EQ(engine.checks.size(), 1U);
}

TEST_F(SPUUpdaterTest, remindsOfTheRestartAfterAnInstallation) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.onInstall();
    engine.onState(UpdateInstalled{"1.1"});
    updater->checkForUpdates();
    engine.endCheck(UpdateNotNeeded{"1.1"});
    EXPECT_TRUE(window.shows<UpdateInstalled>());
}

TEST_F(SPUUpdaterTest, aQuietCheckShowsNothingUnlessItFindsANewerVersion) {
    for (const UpdateState& end : {UpdateState(UpdateNotNeeded{"1.0"}), UpdateState(noNetwork),
                                   UpdateState(UpdateUnanswered{})}) {
        checkQuietly();
        engine.onState(UpdateChecking{{UpdateActivity::working, 40}});
        engine.endCheck(end);
        EXPECT_EQ(window.openings, 0);
        EXPECT_TRUE(window.attentions.empty());
    }
    checkQuietly();
    engine.endCheck(newer);
    EXPECT_TRUE(window.shows<AvailableUpdate>());
    EXPECT_THAT(window.attentions, ElementsAre(Attention::quiet));
    for (const UpdateCheckKind kind : engine.checks)
        EXPECT_EQ(kind, UpdateCheckKind::scheduled);
}

TEST_F(SPUUpdaterTest, givesAQuietCheckUpAfterTenMinutes) {
    checkQuietly();
    clock.pass(9min);
    EXPECT_FALSE(engine.cancelled()) << "it began within the minute before";
    clock.pass(1min);
    EXPECT_TRUE(engine.cancelled());
    engine.turn();
    EXPECT_TRUE(updater->canCheckForUpdates.get());
    checkQuietly();
}

TEST_F(SPUUpdaterTest, aFinishedQuietCheckLeavesNoLimitForTheNext) {
    checkQuietly();
    engine.endCheck(UpdateNotNeeded{"1.0"});
    updater->checkForUpdates();
    clock.pass(1h);
    EXPECT_FALSE(engine.cancelled());
}

TEST_F(SPUUpdaterTest, destroyedAtWorkItCancelsTheCheckAndHearsNoMore) {
    updater->checkForUpdates();
    updater.reset();
    EXPECT_TRUE(engine.cancelled());
    const auto told = window.attentions.size();
    engine.onState(UpdateChecking{{UpdateActivity::working, 1}});
    engine.turn();
    EXPECT_EQ(window.attentions.size(), told);
}

TEST_F(SPUUpdaterTest, destroyedWhileInstallingItHearsNoMore) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.onInstall();
    updater.reset();
    const auto told = window.attentions.size();
    engine.onState(UpdateInstalling{"1.1", {UpdateActivity::working, 1}});
    engine.onState(UpdateInstalled{"1.1"});
    EXPECT_EQ(window.attentions.size(), told);
}

} // namespace
} // namespace lumivert
