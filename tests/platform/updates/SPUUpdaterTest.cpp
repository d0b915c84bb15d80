#include "platform/updates/SPUUpdater.h"

#include "fakes/FakeUpdates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

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
    /// A check on schedule; what it says in the end.
    void checkQuietly() {
        updater->checkQuietly([this](bool value) { settled.push_back(value); });
    }

    FakeUpdateEngine engine;
    FakeUpdateWindow window;
    FakeUpdateClock clock;
    int answers = 0;
    std::vector<bool> settled;
    std::unique_ptr<SPUUpdater> updater =
        std::make_unique<SPUUpdater>(engine, window, clock, [this] { ++answers; });
};

TEST_F(SPUUpdaterTest, showsThatItChecksAndThenThatAllIsUpToDate) {
    updater->checkForUpdates();
    EXPECT_THAT(engine.checks, ElementsAre(UpdateCheckKind::asked));
    EXPECT_TRUE(window.shows<UpdateChecking>());
    engine.endCheck(UpdateNotNeeded{"1.0"});
    ASSERT_TRUE(window.shows<UpdateNotNeeded>());
    EXPECT_EQ(window.shows<UpdateNotNeeded>()->installedVersion, "1.0");
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(window.openings, 1);
}

TEST_F(SPUUpdaterTest, showsHowFarTheCheckIs) {
    updater->checkForUpdates();
    engine.tell(UpdateChecking{{UpdateActivity::working, 40}});
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
        window.actions.dismiss();

        checkQuietly();
        EXPECT_FALSE(updater->canCheckForUpdates.get()) << end.index();
        engine.endCheck(end);
        EXPECT_TRUE(updater->canCheckForUpdates.get()) << end.index();
        window.actions.dismiss();
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
    window.actions.dismiss();
    EXPECT_FALSE(window.open);
    EXPECT_TRUE(engine.cancelled());
    EXPECT_FALSE(updater->canCheckForUpdates.get());
    engine.tell(UpdateChecking{{UpdateActivity::working, 40}});
    engine.turn();
    EXPECT_TRUE(updater->canCheckForUpdates.get());
    EXPECT_FALSE(window.open);
    EXPECT_EQ(answers, 0);
}

TEST_F(SPUUpdaterTest, showsWhyACheckFailed) {
    updater->checkForUpdates();
    engine.endCheck(noNetwork);
    ASSERT_TRUE(window.shows<UpdateFailed>());
    EXPECT_EQ(*window.shows<UpdateFailed>(), noNetwork);
    EXPECT_EQ(answers, 0);
    window.actions.dismiss();
    EXPECT_FALSE(window.open);
}

TEST_F(SPUUpdaterTest, installsWhatItFound) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    ASSERT_TRUE(window.shows<AvailableUpdate>());
    window.actions.install();
    EXPECT_THAT(engine.installs, ElementsAre(newer));
    EXPECT_FALSE(updater->canCheckForUpdates.get());
    engine.tell(UpdateInstalling{"1.1", {UpdateActivity::waitingForPermission, {}}});
    ASSERT_TRUE(window.shows<UpdateInstalling>());
    EXPECT_EQ(*window.shows<UpdateInstalling>(),
              (UpdateInstalling{"1.1", {UpdateActivity::waitingForPermission, {}}}));
    engine.endInstall(UpdateInstalled{"1.1"});
    EXPECT_TRUE(window.shows<UpdateInstalled>());
    EXPECT_TRUE(updater->canCheckForUpdates.get());
}

TEST_F(SPUUpdaterTest, laterInstallsNothing) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.actions.dismiss();
    EXPECT_FALSE(window.open);
    window.actions.install(); // a click that was on its way
    EXPECT_TRUE(engine.installs.empty());
    EXPECT_TRUE(updater->canCheckForUpdates.get());
}

TEST_F(SPUUpdaterTest, installsOnceHoweverOftenItIsPressed) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.actions.install();
    window.actions.install();
    EXPECT_EQ(engine.installs.size(), 1U);
}

TEST_F(SPUUpdaterTest, showsWhyAnInstallationFailed) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.actions.install();
    engine.endInstall(UpdateFailed{UpdateProblem::untrusted, {}, true});
    ASSERT_TRUE(window.shows<UpdateFailed>());
    EXPECT_TRUE(window.shows<UpdateFailed>()->installing);
    EXPECT_TRUE(updater->canCheckForUpdates.get());
}

TEST_F(SPUUpdaterTest, anInstallationGoesOnBehindAClosedWindowAndTellsItsEnd) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.actions.install();
    window.actions.dismiss();
    EXPECT_FALSE(engine.cancelled());
    EXPECT_FALSE(updater->canCheckForUpdates.get());
    engine.tell(UpdateInstalling{"1.1", {UpdateActivity::working, 50}});
    EXPECT_FALSE(window.open);
    engine.endInstall(UpdateInstalled{"1.1"});
    EXPECT_TRUE(window.shows<UpdateInstalled>());
    EXPECT_EQ(window.attentions.back(), Attention::quiet);
}

TEST_F(SPUUpdaterTest, opensTheClosedWindowOfAnInstallationWhenAsked) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.actions.install();
    window.actions.dismiss();
    updater->checkForUpdates();
    EXPECT_TRUE(window.shows<UpdateInstalling>());
    EXPECT_EQ(engine.checks.size(), 1U);
}

TEST_F(SPUUpdaterTest, remindsOfTheRestartAfterAnInstallation) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.actions.install();
    engine.endInstall(UpdateInstalled{"1.1"});
    updater->checkForUpdates();
    engine.endCheck(UpdateNotNeeded{"1.1"});
    EXPECT_TRUE(window.shows<UpdateInstalled>());
}

TEST_F(SPUUpdaterTest, aQuietCheckShowsNothingUnlessItFindsANewerVersion) {
    for (const UpdateState& end : {UpdateState(UpdateNotNeeded{"1.0"}), UpdateState(noNetwork),
                                   UpdateState(UpdateUnanswered{})}) {
        checkQuietly();
        engine.tell(UpdateChecking{{UpdateActivity::working, 40}});
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

TEST_F(SPUUpdaterTest, saysWhetherTheNextQuietCheckMayWaitForADay) {
    for (const UpdateState& end :
         {UpdateState(UpdateNotNeeded{"1.0"}), UpdateState(UpdateUnanswered{}),
          UpdateState(noNetwork),
          UpdateState(UpdateFailed{UpdateProblem::notFromRepository, {}})}) {
        checkQuietly();
        engine.endCheck(end);
    }
    EXPECT_THAT(settled, ElementsAre(true, false, false, true));
    EXPECT_EQ(answers, 1);
}

TEST_F(SPUUpdaterTest, aQuietCheckWaitsWhileTheWindowOrTheEngineIsInUse) {
    updater->checkForUpdates();
    checkQuietly();
    engine.endCheck(newer);
    checkQuietly();
    EXPECT_THAT(settled, ElementsAre(false, false));
    EXPECT_EQ(engine.checks.size(), 1U);
    EXPECT_TRUE(window.shows<AvailableUpdate>());
}

TEST_F(SPUUpdaterTest, givesAQuietCheckUpAfterTenMinutes) {
    checkQuietly();
    clock.pass(9min);
    EXPECT_FALSE(engine.cancelled());
    clock.pass(1min);
    EXPECT_TRUE(engine.cancelled());
    engine.turn();
    EXPECT_TRUE(updater->canCheckForUpdates.get());
    EXPECT_THAT(settled, ElementsAre(false));
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
    engine.tell(UpdateChecking{{UpdateActivity::working, 1}});
    engine.turn();
    EXPECT_EQ(window.attentions.size(), told);
}

TEST_F(SPUUpdaterTest, destroyedWhileInstallingItHearsNoMore) {
    updater->checkForUpdates();
    engine.endCheck(newer);
    window.actions.install();
    updater.reset();
    const auto told = window.attentions.size();
    engine.tell(UpdateInstalling{"1.1", {UpdateActivity::working, 1}});
    engine.endInstall(UpdateInstalled{"1.1"});
    EXPECT_EQ(window.attentions.size(), told);
}

} // namespace
} // namespace lumivert
