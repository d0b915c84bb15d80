#include "EngineFixture.h"
#include "platform/packagekit/PackageKitTransaction.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QThread>
#include <gmock/gmock.h>

#include <chrono>

// A service that refuses, lags, dies, or says things in another order.
namespace lumivert {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

const QString transactionInterface = QStringLiteral("org.freedesktop.PackageKit.Transaction");

class TroubleTest : public EngineFixture {
protected:
    /// The role ends with this error.
    void failWith(const QString& role, uint code, uint exit = 2) {
        service->scripts[role] = [this, code, exit](const QString& path) {
            service->answer(path);
            service->errorCode(path, code, QStringLiteral("why"));
            service->finished(path, exit);
        };
    }
    /// The role begins and never ends; gives the transaction's path.
    std::shared_ptr<QString> hangAt(const QString& role) {
        auto where = std::make_shared<QString>();
        service->scripts[role] = [this, where](const QString& path) {
            service->answer(path);
            *where = path;
        };
        return where;
    }
    /// A check that has come as far as the role that hangs.
    std::shared_ptr<QString> checkUntil(const QString& role) {
        auto where = hangAt(role);
        startCheck();
        EXPECT_TRUE(spinUntil([&] { return !where->isEmpty(); }));
        return where;
    }
    UpdateState outcome() {
        EXPECT_TRUE(spinUntil([&] { return !checked.empty(); }));
        spinFor(20ms);
        EXPECT_EQ(checked.size(), 1U);
        return checked.empty() ? UpdateState(UpdateUnanswered{}) : checked.front();
    }
};

TEST(PackageKitFailure, isNoneAfterASuccess) {
    EXPECT_EQ(packageKitFailure(1, std::nullopt, {}), std::nullopt);
    EXPECT_EQ(packageKitFailure(1, 64U, QStringLiteral("a warning")), std::nullopt);
}

TEST(PackageKitFailure, isToldByTheErrorAndElseByTheExit) {
    const auto problem = [](uint exit, std::optional<uint> code) {
        return packageKitFailure(exit, code, QStringLiteral(" why\n")).value();
    };
    EXPECT_EQ(problem(2, 2), (UpdateFailed{UpdateProblem::noNetwork, "why"}));
    EXPECT_EQ(problem(2, 48).problem, UpdateProblem::notAuthorized);
    for (const uint code : {5U, 30U, 31U, 50U, 51U})
        EXPECT_EQ(problem(2, code).problem, UpdateProblem::untrusted) << code;
    for (const uint code : {10U, 33U, 37U, 43U, 64U})
        EXPECT_EQ(problem(2, code).problem, UpdateProblem::sourcesUnreadable) << code;
    EXPECT_EQ(problem(2, 46).problem, UpdateProblem::noSpace);
    for (const uint code : {26U, 67U})
        EXPECT_EQ(problem(2, code).problem, UpdateProblem::busy) << code;
    for (const uint code : {17U, 65U})
        EXPECT_EQ(problem(3, code).problem, UpdateProblem::interrupted) << code;
    for (const uint exit : {3U, 6U, 9U})
        EXPECT_EQ(problem(exit, {}).problem, UpdateProblem::interrupted) << exit;
    EXPECT_EQ(problem(8, {}).problem, UpdateProblem::untrusted);
    EXPECT_EQ(problem(2, 13).problem, UpdateProblem::other);
    EXPECT_EQ(problem(2, {}).problem, UpdateProblem::other);
    EXPECT_EQ(problem(0, {}).problem, UpdateProblem::other);
}

TEST_F(TroubleTest, tellsThatThereIsNoNetwork) {
    failWith(QStringLiteral("RefreshCache"), 2);
    EXPECT_EQ(check(), UpdateState(UpdateFailed{UpdateProblem::noNetwork, "why"}));
    EXPECT_FALSE(service->calls.contains(QStringLiteral("GetUpdates")));
}

TEST_F(TroubleTest, tellsThatOneIsNotAuthorized) {
    failWith(QStringLiteral("RefreshCache"), 48);
    EXPECT_EQ(problem(check()), UpdateProblem::notAuthorized);
}

TEST_F(TroubleTest, tellsThatThePolicyRefusedTheCall) {
    service->scripts["RefreshCache"] = [this](const QString& path) {
        service->answerError(
            path, QStringLiteral("org.freedesktop.PackageKit.Transaction.RefusedByPolicy"), {});
    };
    EXPECT_EQ(problem(check()), UpdateProblem::notAuthorized);
    service->createError = QStringLiteral("org.freedesktop.DBus.Error.AccessDenied");
    EXPECT_EQ(problem(check()), UpdateProblem::notAuthorized);
}

TEST_F(TroubleTest, tellsThatThereIsNoService) {
    service->die();
    EXPECT_EQ(problem(check()), UpdateProblem::noService);
}

TEST_F(TroubleTest, tellsThatTheServiceCannotBeStarted) {
    service->createError = QStringLiteral("org.freedesktop.DBus.Error.Spawn.ChildExited");
    EXPECT_EQ(problem(check()), UpdateProblem::noService);
}

TEST_F(TroubleTest, tellsThatThereIsNoBus) {
    engine = packageKitEngine("lumivert", "unix:path=/nonexistent/lumivert-bus");
    EXPECT_EQ(problem(check()), UpdateProblem::noService);
}

TEST_F(TroubleTest, tellsWhenEachStepFails) {
    service->availableVersion = QStringLiteral("1.1");
    for (const char* role : {"Resolve", "GetUpdates"}) {
        failWith(QString::fromLatin1(role), 4);
        EXPECT_EQ(check(), UpdateState(UpdateFailed{UpdateProblem::other, "why"})) << role;
        service->scripts.clear();
    }
}

TEST_F(TroubleTest, aServiceThatMakesNoTransactionIsAFailure) {
    service->createError = QStringLiteral("org.example.Broken");
    EXPECT_EQ(check(), UpdateState(UpdateFailed{UpdateProblem::other, "org.example.Broken"}));
}

TEST_F(TroubleTest, noticesThatTheServiceDiesAtAnyStep) {
    service->availableVersion = QStringLiteral("1.1");
    for (const char* role : {"Resolve", "RefreshCache", "GetUpdates"}) {
        checked.clear();
        checkUntil(QString::fromLatin1(role));
        service->die();
        EXPECT_EQ(problem(outcome()), UpdateProblem::serviceLost) << role;
        service = std::make_unique<ScriptedPackageKit>(bus.address());
        service->availableVersion = QStringLiteral("1.1");
    }
    EXPECT_THAT(check(), testing::VariantWith<AvailableUpdate>(testing::_))
        << "started anew, it serves again";
}

TEST_F(TroubleTest, noticesThatTheServiceDiesBeforeItsFirstAnswer) {
    service->createError = QStringLiteral("silence");
    startCheck();
    spinFor(100ms);
    EXPECT_TRUE(checked.empty());
    service->die();
    EXPECT_TRUE(problem(outcome()).has_value());
}

TEST_F(TroubleTest, noticesThatTheServiceDiesOnceItHasMadeTheTransaction) {
    service->afterCreation = [this] {
        QMetaObject::invokeMethod(
            service.get(), [this] { service->die(); }, Qt::QueuedConnection);
    };
    EXPECT_EQ(problem(check()), UpdateProblem::serviceLost);
    EXPECT_TRUE(service->calls.isEmpty());
}

TEST_F(TroubleTest, reportsTheErrorOfAServiceThatThenDied) {
    const auto path = checkUntil(QStringLiteral("RefreshCache"));
    service->errorCode(*path, 2, QStringLiteral("cable"));
    spinFor(50ms);
    EXPECT_TRUE(checked.empty());
    service->die();
    EXPECT_EQ(outcome(), UpdateState(UpdateFailed{UpdateProblem::noNetwork, "cable"}));
}

TEST_F(TroubleTest, noticesThatTheBusDies) {
    checkUntil(QStringLiteral("RefreshCache"));
    bus.stop();
    EXPECT_EQ(problem(outcome()), UpdateProblem::serviceLost);
    EXPECT_EQ(problem(check()), UpdateProblem::noService);
}

TEST_F(TroubleTest, aCancelledCheckEndsAtOnceHoweverSlowTheService) {
    checkUntil(QStringLiteral("RefreshCache"));
    engine->cancelCheck();
    EXPECT_TRUE(checked.empty());
    QCoreApplication::processEvents();
    EXPECT_THAT(checked, ElementsAre(UpdateState(UpdateUnanswered{})));
    EXPECT_TRUE(spinUntil([&] { return service->calls.contains(QStringLiteral("Cancel")); }));
}

TEST_F(TroubleTest, hearsNothingMoreOfACancelledCheck) {
    const auto path = checkUntil(QStringLiteral("RefreshCache"));
    engine->cancelCheck();
    service->scripts.clear();
    startCheck();
    service->errorCode(*path, 2, {});
    service->finished(*path, 2);
    ASSERT_TRUE(spinUntil([&] { return checked.size() == 2; }));
    spinFor(20ms);
    EXPECT_THAT(checked,
                ElementsAre(UpdateState(UpdateUnanswered{}), UpdateState(UpdateNotNeeded{"1.0"})));
}

TEST_F(TroubleTest, anAnswerOnItsWayToACancelledCheckIsNotTakenForTheNext) {
    service->playNetworkManager(1);
    service->afterProperty = [this] {
        QThread::msleep(50); // the answer arrives meanwhile, and waits for the event loop
        engine->cancelCheck();
        startCheck();
    };
    startCheck(UpdateCheckKind::scheduled);
    ASSERT_TRUE(spinUntil([&] { return checked.size() == 2; }));
    EXPECT_THAT(checked,
                ElementsAre(UpdateState(UpdateUnanswered{}), UpdateState(UpdateNotNeeded{"1.0"})));
}

TEST_F(TroubleTest, cancelsWhileItConnectsOrAsksForTheNetwork) {
    for (const auto wait : {0ms, 1ms, 3ms, 10ms}) {
        checked.clear();
        engine = packageKitEngine("lumivert", bus.address());
        startCheck(UpdateCheckKind::scheduled);
        spinFor(wait);
        if (!checked.empty())
            break; // it was done already
        engine->cancelCheck();
        EXPECT_EQ(outcome(), UpdateState(UpdateUnanswered{})) << wait.count();
    }
    EXPECT_EQ(check(), UpdateState(UpdateNotNeeded{"1.0"}));
}

TEST_F(TroubleTest, cancellingNothingHasNoEffect) {
    engine->cancelCheck();
    EXPECT_EQ(check(), UpdateState(UpdateNotNeeded{"1.0"}));
    engine->cancelCheck();
    spinFor(20ms);
    EXPECT_EQ(checked.size(), 1U);
}

TEST_F(TroubleTest, aCheckThatSomebodyElseCancelsIsInterrupted) {
    failWith(QStringLiteral("GetUpdates"), 17, 3);
    EXPECT_EQ(problem(check()), UpdateProblem::interrupted);
}

TEST_F(TroubleTest, aBusThatHangsHoldsNobodyUp) {
    bus.pause();
    const auto begin = std::chrono::steady_clock::now();
    startCheck();
    QCoreApplication::processEvents();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s) << "D-Bus gives up after 25";
    engine->cancelCheck();
    EXPECT_EQ(outcome(), UpdateState(UpdateUnanswered{}));
    bus.resume();
    EXPECT_EQ(check(), UpdateState(UpdateNotNeeded{"1.0"}));
}

TEST_F(TroubleTest, destroyedAtWorkItCallsNobodyAndTellsTheService) {
    checkUntil(QStringLiteral("RefreshCache"));
    engine.reset();
    EXPECT_TRUE(spinUntil([&] { return service->calls.contains(QStringLiteral("Cancel")); }));
    spinFor(20ms);
    EXPECT_TRUE(checked.empty());
}

TEST_F(TroubleTest, mayBeDestroyedByItsOwnReport) {
    int reports = 0;
    engine->onState = [&](const UpdateState& state) {
        if (std::holds_alternative<UpdateChecking>(state))
            return;
        ++reports;
        engine.reset();
    };
    engine->check(UpdateCheckKind::asked);
    EXPECT_TRUE(spinUntil([&] { return reports > 0; }));
    spinFor(20ms);
    EXPECT_EQ(reports, 1);
}

TEST_F(TroubleTest, mayBeCancelledByItsOwnProgress) {
    engine->onState = [&](const UpdateState& state) {
        if (std::holds_alternative<UpdateChecking>(state))
            engine->cancelCheck();
        else
            checked.push_back(state);
    };
    engine->check(UpdateCheckKind::asked);
    EXPECT_EQ(outcome(), UpdateState(UpdateUnanswered{}));
}

TEST_F(TroubleTest, finishesBeforeTheCallIsAnswered) {
    service->availableVersion = QStringLiteral("1.1");
    service->scripts["GetUpdates"] = [this](const QString& path) {
        service->package(path, 5, service->availableId());
        service->finished(path, 1);
        service->answer(path);
    };
    EXPECT_THAT(check(), testing::VariantWith<AvailableUpdate>(testing::_));
}

TEST_F(TroubleTest, waitsForAnErrorThatComesAfterTheEnd) {
    service->scripts["RefreshCache"] = [this](const QString& path) {
        service->answer(path);
        service->finished(path, 2);
        service->errorCode(path, 2, QStringLiteral("late"));
    };
    EXPECT_EQ(check(), UpdateState(UpdateFailed{UpdateProblem::noNetwork, "late"}));
}

TEST_F(TroubleTest, doesNotWaitForEverForAnErrorThatNeverComes) {
    service->scripts["Resolve"] = [this](const QString& path) {
        service->answer(path);
        service->finished(path, 2);
    };
    EXPECT_EQ(problem(check()), UpdateProblem::other);
}

TEST_F(TroubleTest, anErrorBesideASuccessIsAWarning) {
    service->scripts["RefreshCache"] = [this](const QString& path) {
        service->answer(path);
        service->errorCode(path, 64, QStringLiteral("only a warning"));
        service->finished(path, 1);
    };
    EXPECT_EQ(check(), UpdateState(UpdateNotNeeded{"1.0"}));
}

TEST_F(TroubleTest, countsTheFirstEndOnly) {
    service->scripts["GetUpdates"] = [this](const QString& path) {
        service->answer(path);
        service->finished(path, 1);
        service->finished(path, 2);
        service->errorCode(path, 2, {});
        service->property(path, QStringLiteral("Percentage"), 7);
        service->package(path, 5, QStringLiteral("lumivert;9;amd64;test"));
    };
    EXPECT_EQ(check(), UpdateState(UpdateNotNeeded{"1.0"}));
}

TEST_F(TroubleTest, readsOverSignalsOfAnotherShape) {
    service->scripts["GetUpdates"] = [this](const QString& path) {
        const auto say = [&](const char* name, const QVariantList& arguments) {
            service->emitSignal(path, transactionInterface, QString::fromLatin1(name), arguments);
        };
        service->answer(path);
        say("Package", {});
        say("Package", {QStringLiteral("lumivert"), 1U});
        say("Packages", {QStringList{QStringLiteral("lumivert")}});
        say("UpdateDetail", {QStringLiteral("lumivert")});
        say("ErrorCode", {});
        say("Finished", {QStringLiteral("success")});
        say("Destroy", {});
        service->emitSignal(path, QStringLiteral("org.freedesktop.DBus.Properties"),
                            QStringLiteral("PropertiesChanged"), {1U});
        service->emitSignal(path, QStringLiteral("org.example.Other"), QStringLiteral("Finished"),
                            {1U, 1U});
        service->package(path, 5, QString());
        service->package(path, 5, QStringLiteral(";;;"));
        service->property(path, QStringLiteral("Percentage"), 4000000000U);
        service->errorCode(path, 2, QStringLiteral("the real end"));
        service->finished(path, 2);
    };
    EXPECT_EQ(check(), UpdateState(UpdateFailed{UpdateProblem::noNetwork, "the real end"}));
}

TEST_F(TroubleTest, believesNobodyElse) {
    const auto path = checkUntil(QStringLiteral("RefreshCache"));
    const QString name = QStringLiteral("stranger");
    {
        QDBusConnection stranger =
            QDBusConnection::connectToBus(QString::fromStdString(bus.address()), name);
        QDBusMessage signal =
            QDBusMessage::createSignal(*path, transactionInterface, QStringLiteral("Finished"));
        signal << 2U << 1U;
        ASSERT_TRUE(stranger.send(signal));
    }
    QDBusConnection::disconnectFromBus(name);
    spinFor(50ms);
    EXPECT_TRUE(checked.empty());
    service->finished(*path, 1);
    EXPECT_EQ(outcome(), UpdateState(UpdateNotNeeded{"1.0"}));
}

TEST_F(TroubleTest, aSlowServiceIsWaitedFor) {
    const auto path = checkUntil(QStringLiteral("RefreshCache"));
    spinFor(400ms);
    EXPECT_TRUE(checked.empty());
    service->finished(*path, 1);
    EXPECT_EQ(outcome(), UpdateState(UpdateNotNeeded{"1.0"}));
}

} // namespace
} // namespace lumivert
