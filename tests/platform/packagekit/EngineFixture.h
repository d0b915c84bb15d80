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

    void startCheck(UpdateCheckKind kind = UpdateCheckKind::asked) {
        engine->check(
            kind, [this](const UpdateProgress& step) { progress.push_back(step); },
            [this](const UpdateCheckOutcome& outcome) { checked.push_back(outcome); });
    }

    /// The one outcome of a whole check.
    UpdateCheckOutcome check(UpdateCheckKind kind = UpdateCheckKind::asked) {
        checked.clear();
        startCheck(kind);
        EXPECT_TRUE(checked.empty()) << "the outcome must wait for a later turn";
        EXPECT_TRUE(spinUntil([&] { return !checked.empty(); }));
        spinFor(std::chrono::milliseconds(20));
        EXPECT_EQ(checked.size(), 1U);
        return checked.empty() ? UpdateCheckOutcome(UpdatePostponed{}) : checked.front();
    }

    void startInstall() {
        engine->install(
            {service->availableId().toStdString(), "1.0", "1.1", ""},
            [this](const UpdateProgress& step) { progress.push_back(step); },
            [this](const UpdateInstallOutcome& outcome) { installed.push_back(outcome); });
    }

    UpdateInstallOutcome install() {
        installed.clear();
        startInstall();
        EXPECT_TRUE(spinUntil([&] { return !installed.empty(); }));
        spinFor(std::chrono::milliseconds(20));
        EXPECT_EQ(installed.size(), 1U);
        return installed.empty() ? UpdateInstallOutcome(UpdateFailure{}) : installed.front();
    }

    /// The problem of an outcome that is a failure.
    template <class Outcome>
    static std::optional<UpdateProblem> problem(const Outcome& outcome) {
        const auto* failure = std::get_if<UpdateFailure>(&outcome);
        return failure ? std::optional(failure->problem) : std::nullopt;
    }

    PrivateBus bus;
    std::unique_ptr<ScriptedPackageKit> service;
    std::unique_ptr<PackageKitEngine> engine =
        std::make_unique<PackageKitEngine>("lumivert", bus.address());
    std::vector<UpdateProgress> progress;
    std::vector<UpdateCheckOutcome> checked;
    std::vector<UpdateInstallOutcome> installed;
};

} // namespace lumivert
