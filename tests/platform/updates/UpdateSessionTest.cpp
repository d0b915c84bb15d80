#include "platform/updates/UpdateSession.h"

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
const UpdateFailure noNetwork{UpdateProblem::noNetwork, "why"};

class UpdateSessionTest : public testing::Test {
protected:
    void SetUp() override { session->open(); }

    /// A check on schedule; what it says in the end.
    void checkQuietly() {
        session->checkQuietly([this](bool value) { settled.push_back(value); });
    }

    FakeUpdateEngine engine;
    FakeUpdateWindow window;
    FakeUpdateClock clock;
    ObservedFlag mayCheck{false};
    int answers = 0;
    std::vector<bool> settled;
    std::unique_ptr<UpdateSession> session =
        std::make_unique<UpdateSession>(engine, window, clock, mayCheck, [this] { ++answers; });
};

TEST_F(UpdateSessionTest, checksNothingBeforeItIsOpen) {
    ObservedFlag flag{false};
    session.reset();
    session = std::make_unique<UpdateSession>(engine, window, clock, flag, nullptr);
    EXPECT_FALSE(flag.get());
    session->check();
    checkQuietly();
    EXPECT_TRUE(engine.checks.empty());
    EXPECT_FALSE(window.open);
    session->open();
    EXPECT_TRUE(flag.get());
}

TEST_F(UpdateSessionTest, showsThatItChecksAndThenThatAllIsUpToDate) {
    session->check();
    EXPECT_THAT(engine.checks, ElementsAre(UpdateCheckKind::asked));
    EXPECT_TRUE(window.shows<UpdateChecking>());
    engine.endCheck(UpdateNotNeeded{"1.0"});
    ASSERT_TRUE(window.shows<UpdateNotNeeded>());
    EXPECT_EQ(window.shows<UpdateNotNeeded>()->installedVersion, "1.0");
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(window.openings, 1);
}

TEST_F(UpdateSessionTest, showsHowFarTheCheckIs) {
    session->check();
    engine.onProgress({UpdateActivity::working, 40});
    ASSERT_TRUE(window.shows<UpdateChecking>());
    EXPECT_EQ(window.shows<UpdateChecking>()->progress.percent, 40);
}

TEST_F(UpdateSessionTest, mayCheckIsFalseFromStartToEndWhateverTheEnd) {
    const std::vector<UpdateCheckOutcome> ends{UpdateNotNeeded{"1.0"}, newer, noNetwork,
                                               UpdateCancelled{}, UpdatePostponed{}};
    for (const UpdateCheckOutcome& end : ends) {
        EXPECT_TRUE(mayCheck.get()) << end.index();
        session->check();
        EXPECT_FALSE(mayCheck.get()) << end.index();
        engine.endCheck(end);
        EXPECT_TRUE(mayCheck.get()) << end.index();
        window.actions.dismiss();

        checkQuietly();
        EXPECT_FALSE(mayCheck.get()) << end.index();
        engine.endCheck(end);
        EXPECT_TRUE(mayCheck.get()) << end.index();
        window.actions.dismiss();
    }
}

TEST_F(UpdateSessionTest, bringsTheRunningWindowToTheFrontInsteadOfASecond) {
    session->check();
    session->check();
    EXPECT_EQ(engine.checks.size(), 1U);
    EXPECT_EQ(window.openings, 1);
    EXPECT_THAT(window.attentions, ElementsAre(Attention::toFront, Attention::toFront));
}

TEST_F(UpdateSessionTest, checksAgainInTheOpenWindow) {
    session->check();
    engine.endCheck(noNetwork);
    session->check();
    EXPECT_TRUE(window.shows<UpdateChecking>());
    EXPECT_EQ(window.openings, 1);
    EXPECT_EQ(window.attentions.back(), Attention::toFront);
}

TEST_F(UpdateSessionTest, cancelClosesTheWindowAtOnce) {
    session->check();
    window.actions.dismiss();
    EXPECT_FALSE(window.open);
    EXPECT_TRUE(engine.cancelled());
    EXPECT_FALSE(mayCheck.get());
    engine.onProgress({UpdateActivity::working, 40});
    engine.turn();
    EXPECT_TRUE(mayCheck.get());
    EXPECT_FALSE(window.open);
    EXPECT_EQ(answers, 0);
}

TEST_F(UpdateSessionTest, showsWhyACheckFailed) {
    session->check();
    engine.endCheck(noNetwork);
    ASSERT_TRUE(window.shows<UpdateFailed>());
    EXPECT_EQ(*window.shows<UpdateFailed>(), (UpdateFailed{false, noNetwork}));
    EXPECT_EQ(answers, 0);
    window.actions.dismiss();
    EXPECT_FALSE(window.open);
}

TEST_F(UpdateSessionTest, installsWhatItFound) {
    session->check();
    engine.endCheck(newer);
    ASSERT_TRUE(window.shows<AvailableUpdate>());
    window.actions.install();
    EXPECT_THAT(engine.installs, ElementsAre(newer));
    EXPECT_FALSE(mayCheck.get());
    engine.onProgress({UpdateActivity::waitingForPermission, {}});
    ASSERT_TRUE(window.shows<UpdateInstalling>());
    EXPECT_EQ(*window.shows<UpdateInstalling>(),
              (UpdateInstalling{"1.1", {UpdateActivity::waitingForPermission, {}}}));
    engine.endInstall(UpdateInstalled{"1.1"});
    EXPECT_TRUE(window.shows<UpdateInstalled>());
    EXPECT_TRUE(mayCheck.get());
}

TEST_F(UpdateSessionTest, laterInstallsNothing) {
    session->check();
    engine.endCheck(newer);
    window.actions.dismiss();
    EXPECT_FALSE(window.open);
    window.actions.install(); // a click that was on its way
    EXPECT_TRUE(engine.installs.empty());
    EXPECT_TRUE(mayCheck.get());
}

TEST_F(UpdateSessionTest, installsOnceHoweverOftenItIsPressed) {
    session->check();
    engine.endCheck(newer);
    window.actions.install();
    window.actions.install();
    EXPECT_EQ(engine.installs.size(), 1U);
}

TEST_F(UpdateSessionTest, showsWhyAnInstallationFailed) {
    session->check();
    engine.endCheck(newer);
    window.actions.install();
    engine.endInstall(UpdateFailure{UpdateProblem::untrusted, {}});
    ASSERT_TRUE(window.shows<UpdateFailed>());
    EXPECT_TRUE(window.shows<UpdateFailed>()->installing);
    EXPECT_TRUE(mayCheck.get());
}

TEST_F(UpdateSessionTest, anInstallationGoesOnBehindAClosedWindowAndTellsItsEnd) {
    session->check();
    engine.endCheck(newer);
    window.actions.install();
    window.actions.dismiss();
    EXPECT_FALSE(engine.cancelled());
    EXPECT_FALSE(mayCheck.get());
    engine.onProgress({UpdateActivity::working, 50});
    EXPECT_FALSE(window.open);
    engine.endInstall(UpdateInstalled{"1.1"});
    EXPECT_TRUE(window.shows<UpdateInstalled>());
    EXPECT_EQ(window.attentions.back(), Attention::quiet);
}

TEST_F(UpdateSessionTest, opensTheClosedWindowOfAnInstallationWhenAsked) {
    session->check();
    engine.endCheck(newer);
    window.actions.install();
    window.actions.dismiss();
    session->check();
    EXPECT_TRUE(window.shows<UpdateInstalling>());
    EXPECT_EQ(engine.checks.size(), 1U);
}

TEST_F(UpdateSessionTest, remindsOfTheRestartAfterAnInstallation) {
    session->check();
    engine.endCheck(newer);
    window.actions.install();
    engine.endInstall(UpdateInstalled{"1.1"});
    session->check();
    engine.endCheck(UpdateNotNeeded{"1.1"});
    EXPECT_TRUE(window.shows<UpdateInstalled>());
}

TEST_F(UpdateSessionTest, aQuietCheckShowsNothingUnlessItFindsANewerVersion) {
    for (const UpdateCheckOutcome& end :
         {UpdateCheckOutcome(UpdateNotNeeded{"1.0"}), UpdateCheckOutcome(noNetwork),
          UpdateCheckOutcome(UpdatePostponed{})}) {
        checkQuietly();
        engine.onProgress({UpdateActivity::working, 40});
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

TEST_F(UpdateSessionTest, saysWhetherTheNextQuietCheckMayWaitForADay) {
    for (const UpdateCheckOutcome& end :
         {UpdateCheckOutcome(UpdateNotNeeded{"1.0"}), UpdateCheckOutcome(UpdatePostponed{}),
          UpdateCheckOutcome(noNetwork),
          UpdateCheckOutcome(UpdateFailure{UpdateProblem::notFromRepository, {}})}) {
        checkQuietly();
        engine.endCheck(end);
    }
    EXPECT_THAT(settled, ElementsAre(true, false, false, true));
    EXPECT_EQ(answers, 1);
}

TEST_F(UpdateSessionTest, aQuietCheckWaitsWhileTheWindowOrTheEngineIsInUse) {
    session->check();
    checkQuietly();
    engine.endCheck(newer);
    checkQuietly();
    EXPECT_THAT(settled, ElementsAre(false, false));
    EXPECT_EQ(engine.checks.size(), 1U);
    EXPECT_TRUE(window.shows<AvailableUpdate>());
}

TEST_F(UpdateSessionTest, givesAQuietCheckUpAfterTenMinutes) {
    checkQuietly();
    clock.pass(9min);
    EXPECT_FALSE(engine.cancelled());
    clock.pass(1min);
    EXPECT_TRUE(engine.cancelled());
    engine.turn();
    EXPECT_TRUE(mayCheck.get());
    EXPECT_THAT(settled, ElementsAre(false));
}

TEST_F(UpdateSessionTest, aFinishedQuietCheckLeavesNoLimitForTheNext) {
    checkQuietly();
    engine.endCheck(UpdateNotNeeded{"1.0"});
    session->check();
    clock.pass(1h);
    EXPECT_FALSE(engine.cancelled());
}

TEST_F(UpdateSessionTest, destroyedAtWorkItCancelsTheCheckAndHearsNoMore) {
    session->check();
    session.reset();
    EXPECT_TRUE(engine.cancelled());
    engine.onProgress({UpdateActivity::working, 1});
    engine.turn();
    EXPECT_FALSE(mayCheck.get());
}

TEST_F(UpdateSessionTest, destroyedWhileInstallingItHearsNoMore) {
    session->check();
    engine.endCheck(newer);
    window.actions.install();
    session.reset();
    engine.onProgress({UpdateActivity::working, 1});
    engine.endInstall(UpdateInstalled{"1.1"});
    EXPECT_FALSE(mayCheck.get());
}

} // namespace
} // namespace lumivert
