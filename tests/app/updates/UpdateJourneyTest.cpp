#include "EngineFixture.h"
#include "app/updates/CheckForUpdatesView.h"
#include "app/updates/UpdateDialog.h"
#include "fakes/FakeServices.h"
#include "fakes/FakeUpdates.h"
#include "platform/qt/QtDispatcher.h"
#include "platform/updates/SPUUpdater.h"

#include <QDialog>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

// From the menu item to the last word of the window, over a real bus.
namespace lumivert {
namespace {

using namespace std::chrono_literals;

class UpdateJourneyTest : public EngineFixture {
protected:
    /// The window's headline; empty while it is closed.
    std::string headline() {
        return dialog.isOpen() ? dialog.accessibleName().toStdString() : std::string();
    }
    bool reaches(const std::string& expected) {
        const bool reached = spinUntil([&] { return headline() == expected; });
        EXPECT_EQ(headline(), expected);
        return reached;
    }
    bool says(const char* text) {
        for (const QLabel* label : dialog.findChildren<QLabel*>())
            if (label->isVisible() && label->text().contains(QString::fromUtf8(text)))
                return true;
        return false;
    }
    void press(const char* name) {
        auto* button = dialog.findChild<QPushButton*>(QString::fromLatin1(name));
        ASSERT_TRUE(button && button->isVisible()) << name;
        button->click();
    }
    void choose() {
        ASSERT_TRUE(spinUntil([&] { return item.isEnabled(); }));
        item.trigger();
    }
    void failWith(const char* role, uint code) {
        service->scripts[QString::fromLatin1(role)] = [this, code](const QString& path) {
            service->answer(path);
            service->errorCode(path, code, QStringLiteral("in its own words"));
            service->finished(path, 2);
        };
    }

    UpdateDialog dialog;
    fakes::FakeUpdateClock clock;
    fakes::FakePreferencesStore preferences;
    QtDispatcher dispatcher;
    SPUUpdater updater{{*engine, dialog, clock, preferences}};
    CheckForUpdatesView item{updater, dispatcher, nullptr};
};

TEST_F(UpdateJourneyTest, theItemWakesOnTheFirstTurn) {
    EXPECT_FALSE(item.isEnabled());
    QCoreApplication::processEvents();
    EXPECT_TRUE(item.isEnabled());
}

TEST_F(UpdateJourneyTest, upToDate) {
    choose();
    EXPECT_EQ(headline(), "Checking for updates…");
    QCoreApplication::processEvents();
    EXPECT_FALSE(item.isEnabled());
    ASSERT_TRUE(reaches("Lumivert is up to date"));
    EXPECT_TRUE(spinUntil([&] { return item.isEnabled(); }));
    press("dismiss");
    EXPECT_FALSE(dialog.isOpen());
}

TEST_F(UpdateJourneyTest, findsInstallsAndAsksForARestart) {
    service->availableVersion = QStringLiteral("1.1");
    choose();
    ASSERT_TRUE(reaches("Lumivert 1.1 is available"));
    EXPECT_EQ(dialog.findChild<QPlainTextEdit*>()->toPlainText(), QStringLiteral("Finer margins."));
    EXPECT_TRUE(spinUntil([&] { return item.isEnabled(); }));
    press("install");
    EXPECT_EQ(headline(), "Installing Lumivert 1.1…");
    QCoreApplication::processEvents();
    EXPECT_FALSE(item.isEnabled());
    ASSERT_TRUE(reaches("Lumivert 1.1 is installed"));
    EXPECT_TRUE(says("Restart Lumivert to use it."));
    EXPECT_TRUE(spinUntil([&] { return item.isEnabled(); }));
    EXPECT_EQ(service->installedVersion, QStringLiteral("1.1"));
}

TEST_F(UpdateJourneyTest, laterLeavesEverythingAsItIs) {
    service->availableVersion = QStringLiteral("1.1");
    choose();
    ASSERT_TRUE(reaches("Lumivert 1.1 is available"));
    press("dismiss");
    EXPECT_FALSE(dialog.isOpen());
    spinFor(50ms);
    EXPECT_FALSE(service->calls.contains(QStringLiteral("UpdatePackages")));
}

TEST_F(UpdateJourneyTest, cancelsASlowCheck) {
    service->scripts["RefreshCache"] = [this](const QString& path) { service->answer(path); };
    choose();
    ASSERT_TRUE(spinUntil([&] { return service->calls.contains(QStringLiteral("RefreshCache")); }));
    press("dismiss");
    EXPECT_FALSE(dialog.isOpen());
    EXPECT_TRUE(spinUntil([&] { return item.isEnabled(); }));
    service->scripts.clear();
    choose();
    EXPECT_TRUE(reaches("Lumivert is up to date"));
}

TEST_F(UpdateJourneyTest, tellsEachReasonForAFailure) {
    const auto failsWith = [&](const char* text) {
        choose();
        EXPECT_TRUE(reaches("Lumivert could not check for updates"));
        EXPECT_TRUE(says(text)) << text;
        EXPECT_TRUE(spinUntil([&] { return item.isEnabled(); })) << text;
        press("dismiss");
    };
    failWith("RefreshCache", 2);
    failsWith("There is no network connection.");
    EXPECT_EQ(dialog.findChild<QPlainTextEdit*>()->toPlainText(),
              QStringLiteral("in its own words"));
    failWith("RefreshCache", 48);
    failsWith("You are not allowed to look for new software here");
    service->installedVersion.clear();
    failsWith("This copy of Lumivert was not installed from a package repository.");
    service->die();
    failsWith("This system has no PackageKit service");
    bus.stop();
    failsWith("This system has no PackageKit service");
}

TEST_F(UpdateJourneyTest, tellsWhyAnInstallationFailed) {
    service->availableVersion = QStringLiteral("1.1");
    failWith("UpdatePackages", 51);
    choose();
    ASSERT_TRUE(reaches("Lumivert 1.1 is available"));
    press("install");
    ASSERT_TRUE(reaches("The update could not be installed"));
    EXPECT_TRUE(says("The new version is not signed by anyone this system trusts."));
}

TEST_F(UpdateJourneyTest, aServiceThatDiesWhileInstallingIsTold) {
    service->availableVersion = QStringLiteral("1.1");
    bool begun = false;
    service->scripts["UpdatePackages"] = [&](const QString& path) {
        service->answer(path);
        begun = true;
    };
    choose();
    ASSERT_TRUE(reaches("Lumivert 1.1 is available"));
    press("install");
    ASSERT_TRUE(spinUntil([&] { return begun; }));
    service->die();
    ASSERT_TRUE(reaches("The update could not be installed"));
    EXPECT_TRUE(spinUntil([&] { return item.isEnabled(); }));
}

TEST_F(UpdateJourneyTest, aScheduledCheckOpensAWindowOnlyForNews) {
    service->playNetworkManager(2);
    preferences.setData(SPUUpdater::preferenceKey, "0");
    clock.pass(6min);
    ASSERT_TRUE(spinUntil([&] { return preferences.data(SPUUpdater::preferenceKey) != "0"; }));
    EXPECT_FALSE(dialog.isOpen());
    EXPECT_EQ(service->hints["RefreshCache"].value(0), QStringLiteral("interactive=false"));

    service->availableVersion = QStringLiteral("1.1");
    clock.pass(24h + 6min);
    EXPECT_TRUE(reaches("Lumivert 1.1 is available"));
}

} // namespace
} // namespace lumivert
