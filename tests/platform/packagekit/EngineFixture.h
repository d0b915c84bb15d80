#pragma once

#include "PrivateBus.h"
#include "ScriptedPackageKit.h"
#include "fakes/PrintUpdates.h"
#include "platform/packagekit/PackageKitEngine.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace lumivert {

/// Turns the event loop until `done`, for ten seconds at most.
template <class Condition>
bool spinUntil(Condition done) {
    const QDeadlineTimer deadline(std::chrono::seconds(10));
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
    return done();
}

inline void spinFor(std::chrono::milliseconds time) {
    const QDeadlineTimer deadline(time);
    while (!deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

/// An engine on a bus of its own with a scripted service.
class EngineFixture : public testing::Test {
protected:
    void SetUp() override { service = std::make_unique<ScriptedPackageKit>(bus.address()); }

    /// Writes down what the engine tells: the progress, and the end among `ends`.
    void record(std::vector<UpdateState>& ends) {
        engine->onState = [this, &ends](const UpdateState& state) {
            if (const auto* checking = std::get_if<UpdateChecking>(&state))
                progress.push_back(checking->progress);
            else if (const auto* installing = std::get_if<UpdateInstalling>(&state))
                progress.push_back(installing->progress);
            else
                ends.push_back(state);
        };
    }

    void startCheck(UpdateCheckKind kind = UpdateCheckKind::asked) {
        record(checked);
        engine->check(kind);
    }

    /// The one outcome of a whole check.
    UpdateState check(UpdateCheckKind kind = UpdateCheckKind::asked) {
        checked.clear();
        startCheck(kind);
        EXPECT_TRUE(checked.empty()) << "the outcome must wait for a later turn";
        EXPECT_TRUE(spinUntil([&] { return !checked.empty(); }));
        spinFor(std::chrono::milliseconds(20));
        EXPECT_EQ(checked.size(), 1U);
        return checked.empty() ? UpdateState(UpdateUnanswered{}) : checked.front();
    }

    void startInstall() {
        record(installed);
        engine->install({service->availableId().toStdString(), "1.0", "1.1", ""});
    }

    UpdateState install() {
        installed.clear();
        startInstall();
        EXPECT_TRUE(spinUntil([&] { return !installed.empty(); }));
        spinFor(std::chrono::milliseconds(20));
        EXPECT_EQ(installed.size(), 1U);
        return installed.empty() ? UpdateState(UpdateUnanswered{}) : installed.front();
    }

    /// The problem of an outcome that is a failure.
    static std::optional<UpdateProblem> problem(const UpdateState& outcome) {
        const auto* failure = std::get_if<UpdateFailed>(&outcome);
        return failure ? std::optional(failure->problem) : std::nullopt;
    }

    PrivateBus bus;
    std::unique_ptr<ScriptedPackageKit> service;
    std::unique_ptr<UpdateEngine> engine = packageKitEngine("lumivert", bus.address());
    std::vector<UpdateProgress> progress;
    std::vector<UpdateState> checked;
    std::vector<UpdateState> installed;
};

} // namespace lumivert
