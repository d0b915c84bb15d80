#include "EngineFixture.h"

#include <gmock/gmock.h>

// What a check finds when the service behaves.
namespace lumivert {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

class UpdateCheckTest : public EngineFixture {
protected:
    [[nodiscard]] std::vector<std::string> calls() const {
        std::vector<std::string> names;
        for (const QString& call : service->calls)
            names.push_back(call.toStdString());
        return names;
    }
    [[nodiscard]] std::vector<std::string> hints(const char* role) const {
        std::vector<std::string> texts;
        if (const auto found = service->hints.find(QString::fromLatin1(role));
            found != service->hints.end())
            for (const QString& hint : found->second)
                texts.push_back(hint.toStdString());
        return texts;
    }
    [[nodiscard]] std::vector<int> percents() const {
        std::vector<int> numbers;
        for (const UpdateProgress& step : progress)
            if (step.percent)
                numbers.push_back(*step.percent);
        return numbers;
    }
};

TEST_F(UpdateCheckTest, saysUpToDateWhenNothingIsOffered) {
    EXPECT_EQ(check(), UpdateState(UpdateNotNeeded{"1.0"}));
    EXPECT_THAT(calls(), ElementsAre("Resolve", "RefreshCache", "GetUpdates"));
}

TEST_F(UpdateCheckTest, asksForTheInstalledPackageByName) {
    check();
    EXPECT_EQ(service->arguments["Resolve"],
              (QVariantList{qulonglong(4), QStringList{QStringLiteral("lumivert")}}));
    EXPECT_EQ(service->arguments["RefreshCache"], QVariantList{false});
    EXPECT_EQ(service->arguments["GetUpdates"], QVariantList{qulonglong(2)});
}

TEST_F(UpdateCheckTest, findsANewerVersionAndWhatItChanges) {
    service->availableVersion = QStringLiteral("1.1");
    EXPECT_EQ(check(), UpdateState(AvailableUpdate{"lumivert;1.1;amd64;test", "1.0", "1.1",
                                                   "Finer margins."}));
    EXPECT_THAT(calls(), ElementsAre("Resolve", "RefreshCache", "GetUpdates", "GetUpdateDetail"));
}

TEST_F(UpdateCheckTest, tellsWhatAPackageIsFromHowSevereItsUpdateIs) {
    service->availableVersion = QStringLiteral("1.1");
    service->scripts["Resolve"] = [this](const QString& path) {
        service->answer(path);
        service->package(path, 1 | 5 << 16, service->installedId());
        service->finished(path, 1);
    };
    EXPECT_THAT(check(), testing::VariantWith<AvailableUpdate>(testing::_));
}

TEST_F(UpdateCheckTest, showsTheChangelogWhenThereIsNoOtherText) {
    service->availableVersion = QStringLiteral("1.1");
    service->scripts["GetUpdateDetail"] = [this](const QString& path) {
        service->answer(path);
        service->updateDetail(path, QStringLiteral("  \n"), QStringLiteral("lumivert (1.1)\n"));
        service->finished(path, 1);
    };
    EXPECT_EQ(std::get<AvailableUpdate>(check()).changes, "lumivert (1.1)");
}

TEST_F(UpdateCheckTest, offersAnUpdateWhoseChangesCannotBeRead) {
    service->availableVersion = QStringLiteral("1.1");
    service->scripts["GetUpdateDetail"] = [this](const QString& path) {
        service->answerError(path, QStringLiteral("org.example.No"), QStringLiteral("no"));
    };
    const auto outcome = check();
    ASSERT_TRUE(std::holds_alternative<AvailableUpdate>(outcome));
    EXPECT_EQ(std::get<AvailableUpdate>(outcome).changes, "");
}

TEST_F(UpdateCheckTest, leavesAnUpdateAloneThatIsHeldBack) {
    service->scripts["GetUpdates"] = [this](const QString& path) {
        service->answer(path);
        service->package(path, 9 | 5 << 16, QStringLiteral("lumivert;1.1;amd64;test"));
        service->finished(path, 1);
    };
    EXPECT_EQ(check(), UpdateState(UpdateNotNeeded{"1.0"}));
}

TEST_F(UpdateCheckTest, saysSoWhenThePackageIsNotInstalled) {
    service->installedVersion.clear();
    EXPECT_EQ(problem(check()), UpdateProblem::notFromRepository);
    EXPECT_THAT(calls(), ElementsAre("Resolve"));
}

TEST_F(UpdateCheckTest, saysSoWhenNoRepositoryHasTheInstalledPackage) {
    service->scripts["Resolve"] = [this](const QString& path) {
        service->answer(path);
        service->package(path, 1, QStringLiteral("lumivert;1.0;amd64;manual:local"));
        service->finished(path, 1);
    };
    EXPECT_EQ(problem(check()), UpdateProblem::notFromRepository);
    service->availableVersion = QStringLiteral("1.1");
    EXPECT_THAT(check(), testing::VariantWith<AvailableUpdate>(testing::_))
        << "the version before the newest may be in no repository any more";
}

TEST_F(UpdateCheckTest, doesNotTakeAnAvailablePackageForAnInstalledOne) {
    service->scripts["Resolve"] = [this](const QString& path) {
        service->answer(path);
        service->package(path, 2, QStringLiteral("lumivert;1.0;amd64;test"));
        service->package(path, 1, QStringLiteral("lumivert-doc;1.0;all;test"));
        service->finished(path, 1);
    };
    EXPECT_EQ(problem(check()), UpdateProblem::notFromRepository);
}

TEST_F(UpdateCheckTest, findsAnUpdateThoughARepositoryCannotBeRead) {
    service->availableVersion = QStringLiteral("1.1");
    service->scripts["RefreshCache"] = [this](const QString& path) {
        service->answer(path);
        service->errorCode(path, 64, QStringLiteral("E: another repository"));
        service->finished(path, 2);
    };
    EXPECT_THAT(check(), testing::VariantWith<AvailableUpdate>(testing::_));
}

TEST_F(UpdateCheckTest, doesNotSayUpToDateWhenARepositoryCannotBeRead) {
    service->scripts["RefreshCache"] = [this](const QString& path) {
        service->answer(path);
        service->errorCode(path, 64, QStringLiteral("E: is not signed.\n"));
        service->finished(path, 2);
    };
    EXPECT_EQ(check(),
              UpdateState(UpdateFailed{UpdateProblem::sourcesUnreadable, "E: is not signed."}));
}

TEST_F(UpdateCheckTest, reportsTheRefreshAndNotTheLoadingOfTheCache) {
    check();
    EXPECT_THAT(percents(), ElementsAre(0, 50, 100));
}

TEST_F(UpdateCheckTest, reportsWhatItWaitsFor) {
    service->scripts["RefreshCache"] = [this](const QString& path) {
        service->answer(path);
        service->property(path, QStringLiteral("Status"), 31);
        service->property(path, QStringLiteral("Status"), 30);
        service->finished(path, 1);
    };
    check();
    std::vector<UpdateActivity> activities;
    for (const UpdateProgress& step : progress)
        activities.push_back(step.activity);
    EXPECT_THAT(activities, ElementsAre(UpdateActivity::waitingForPermission,
                                        UpdateActivity::waitingForOthers));
}

TEST_F(UpdateCheckTest, checksOneAfterTheOther) {
    check();
    service->availableVersion = QStringLiteral("1.1");
    EXPECT_THAT(check(), testing::VariantWith<AvailableUpdate>(testing::_));
}

TEST_F(UpdateCheckTest, mayAskForAPasswordWhenAPersonWaits) {
    check();
    EXPECT_THAT(hints("RefreshCache"), ElementsAre("interactive=true", "background=false"));
}

TEST_F(UpdateCheckTest, neverAsksForAPasswordOnSchedule) {
    service->playNetworkManager(2);
    service->availableVersion = QStringLiteral("1.1");
    EXPECT_THAT(check(UpdateCheckKind::scheduled),
                testing::VariantWith<AvailableUpdate>(testing::_));
    for (const char* role : {"Resolve", "RefreshCache", "GetUpdates", "GetUpdateDetail"})
        EXPECT_THAT(hints(role), ElementsAre("interactive=false", "background=true")) << role;
}

TEST_F(UpdateCheckTest, doesNothingOnScheduleForAServiceThatRefusesToBeQuiet) {
    service->playNetworkManager(2);
    service->refuseHints = true;
    EXPECT_EQ(problem(check(UpdateCheckKind::scheduled)), UpdateProblem::other);
    EXPECT_THAT(calls(), ElementsAre());
    EXPECT_EQ(check(), UpdateState(UpdateNotNeeded{"1.0"})) << "asked for, hints matter less";
}

TEST_F(UpdateCheckTest, looksAtWhatIsFetchedAlreadyWhenARefreshNeedsAPassword) {
    service->playNetworkManager(4);
    service->availableVersion = QStringLiteral("1.1");
    service->scripts["RefreshCache"] = [this](const QString& path) {
        service->answer(path);
        service->errorCode(path, 48, {});
        service->finished(path, 2);
    };
    EXPECT_THAT(check(UpdateCheckKind::scheduled),
                testing::VariantWith<AvailableUpdate>(testing::_));
    EXPECT_EQ(problem(check()), UpdateProblem::notAuthorized);
}

TEST_F(UpdateCheckTest, waitsOnAMeteredNetwork) {
    for (const uint metered : {1U, 3U}) {
        service->playNetworkManager(metered);
        EXPECT_EQ(check(UpdateCheckKind::scheduled), UpdateState(UpdateUnanswered{}));
    }
    EXPECT_THAT(calls(), ElementsAre());
    EXPECT_EQ(check(), UpdateState(UpdateNotNeeded{"1.0"})) << "asked for, it is checked";
}

TEST_F(UpdateCheckTest, waitsOnAMobileNetworkAndWithoutOne) {
    for (const uint state : {5U, 1U}) {
        service->networkState = state;
        EXPECT_EQ(check(UpdateCheckKind::scheduled), UpdateState(UpdateUnanswered{}));
    }
    EXPECT_THAT(calls(), ElementsAre());
}

TEST_F(UpdateCheckTest, refreshesOnAnUnmeteredNetwork) {
    service->networkState = 3;
    check(UpdateCheckKind::scheduled);
    EXPECT_THAT(calls(), Contains("RefreshCache"));
    service->calls.clear();
    service->networkState = 0;
    service->playNetworkManager(2);
    check(UpdateCheckKind::scheduled);
    EXPECT_THAT(calls(), Contains("RefreshCache"));
}

TEST_F(UpdateCheckTest, fetchesNothingOnANetworkOfUnknownPrice) {
    service->availableVersion = QStringLiteral("1.1");
    service->playNetworkManager(0);
    for (const uint state : {0U, 2U, 4U}) {
        service->networkState = state;
        service->calls.clear();
        EXPECT_THAT(check(UpdateCheckKind::scheduled),
                    testing::VariantWith<AvailableUpdate>(testing::_));
        EXPECT_THAT(calls(), ElementsAre("Resolve", "GetUpdates")) << state;
        EXPECT_THAT(hints("GetUpdates"), Contains("cache-age=4294967295"));
    }
    check();
    EXPECT_THAT(hints("GetUpdates"), Not(Contains("cache-age=4294967295")));
}

} // namespace
} // namespace lumivert
