#include "EngineFixture.h"

#include <gmock/gmock.h>

namespace lumivert {
namespace {

using testing::ElementsAre;

class InstallTest : public EngineFixture {
protected:
    void SetUp() override {
        EngineFixture::SetUp();
        service->availableVersion = QStringLiteral("1.1");
    }
    void failWith(uint code, uint exit) {
        service->scripts["UpdatePackages"] = [this, code, exit](const QString& path) {
            service->answer(path);
            if (code != 0)
                service->errorCode(path, code, QStringLiteral("why"));
            service->finished(path, exit);
        };
    }
};

TEST_F(InstallTest, installsTheFoundPackageIfItIsTrusted) {
    EXPECT_EQ(install(), UpdateState(UpdateInstalled{"1.1"}));
    EXPECT_EQ(
        service->arguments["UpdatePackages"],
        (QVariantList{qulonglong(2), QStringList{QStringLiteral("lumivert;1.1;amd64;test")}}));
    EXPECT_EQ(service->hints["UpdatePackages"].value(0), QStringLiteral("interactive=true"));
    EXPECT_EQ(service->installedVersion, QStringLiteral("1.1"));
}

TEST_F(InstallTest, reportsHowFarItIs) {
    install();
    EXPECT_THAT(progress, ElementsAre(UpdateProgress{UpdateActivity::waitingForPermission, {}},
                                      UpdateProgress{UpdateActivity::working, {}},
                                      UpdateProgress{UpdateActivity::working, 80}));
}

TEST_F(InstallTest, refusesAPackageThatIsNotTrusted) {
    failWith(51, 2);
    EXPECT_EQ(install(), UpdateState(UpdateFailed{UpdateProblem::untrusted, "why", true}));
    failWith(0, 8);
    EXPECT_EQ(problem(install()), UpdateProblem::untrusted);
}

TEST_F(InstallTest, tellsWhyItFailed) {
    failWith(48, 2);
    EXPECT_EQ(problem(install()), UpdateProblem::notAuthorized);
    failWith(46, 2);
    EXPECT_EQ(problem(install()), UpdateProblem::noSpace);
    failWith(0, 3);
    EXPECT_EQ(problem(install()), UpdateProblem::interrupted);
}

TEST_F(InstallTest, noticesThatTheServiceDies) {
    bool begun = false;
    service->scripts["UpdatePackages"] = [&](const QString& path) {
        service->answer(path);
        begun = true;
    };
    startInstall();
    ASSERT_TRUE(spinUntil([&] { return begun; }));
    service->die();
    ASSERT_TRUE(spinUntil([&] { return !installed.empty(); }));
    EXPECT_EQ(problem(installed.front()), UpdateProblem::serviceLost);
}

TEST_F(InstallTest, needsABus) {
    bus.stop();
    EXPECT_EQ(problem(install()), UpdateProblem::noService);
}

TEST_F(InstallTest, isNeitherCancelledNorCutOff) {
    QString where;
    service->scripts["UpdatePackages"] = [&](const QString& path) {
        service->answer(path);
        where = path;
    };
    startInstall();
    ASSERT_TRUE(spinUntil([&] { return !where.isEmpty(); }));
    engine->cancelCheck();
    engine.reset();
    spinFor(std::chrono::milliseconds(50));
    EXPECT_FALSE(service->calls.contains(QStringLiteral("Cancel")));
    EXPECT_TRUE(installed.empty());
}

} // namespace
} // namespace lumivert
