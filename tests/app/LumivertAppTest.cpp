#include "app/LumivertApp.h"

#include "fakes/FakePlatform.h"
#include "fakes/FakeUpdates.h"
#include "manager/PrintManager.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

namespace lumivert {
namespace {

class LumivertAppTest : public testing::Test {
protected:
    fakes::FakePlatform fakes;
    fakes::FakeUpdateEngine updateEngine;
    fakes::FakeUpdateWindow updateWindow;
    fakes::FakeUpdateClock updateClock;
    int painted = 0;
    LumivertApp app{{.platform = fakes.platform,
                     .updates = {updateEngine, updateWindow, updateClock, fakes.preferences},
                     .providersOf = [](const QMimeData&) { return ItemProviders(); },
                     .firstWindowPainted = [this] { ++painted; }}};
};

TEST_F(LumivertAppTest, asksNobodyBeforeItsWindowIsOpened) {
    EXPECT_EQ(app.printManager(), nullptr);
    EXPECT_TRUE(fakes.processes.commands.empty());
}

TEST_F(LumivertAppTest, makesTheStateOnceAndThenTheWindow) {
    fakes.addQueue("Q");
    app.openWindow();
    ASSERT_NE(app.printManager(), nullptr);
    EXPECT_EQ(app.printManager()->selectedPrinterID.get(), "Q");
    const std::vector<std::string> asked = fakes.processes.commands;
    EXPECT_EQ(std::ranges::count(asked, "lpstat -p 2>/dev/null"), 1);
    ASSERT_NE(app.window(), nullptr);
    EXPECT_TRUE(app.window()->isVisible());
    EXPECT_EQ(app.window()->size(), QSize(1100, 750));
}

TEST_F(LumivertAppTest, tellsOnceThatTheFirstWindowIsPainted) {
    app.openWindow();
    EXPECT_EQ(painted, 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return painted > 0; }));
    app.window()->update();
    QTest::qWait(20);
    EXPECT_EQ(painted, 1);
}

TEST_F(LumivertAppTest, opensItsWindowAsLargeAsItWasLeft) {
    const auto services = [this] {
        return AppServices{.platform = fakes.platform,
                           .updates = {updateEngine, updateWindow, updateClock, fakes.preferences},
                           .providersOf = [](const QMimeData&) { return ItemProviders(); },
                           .firstWindowPainted = nullptr};
    };
    {
        LumivertApp first(services());
        first.openWindow();
        first.window()->resize(930, 700);
    }
    LumivertApp second(services());
    second.openWindow();
    EXPECT_EQ(second.window()->size(), QSize(930, 700));
    EXPECT_TRUE(QGuiApplication::primaryScreen()->availableGeometry().intersects(
        second.window()->frameGeometry()));
}

TEST_F(LumivertAppTest, outlivesAStoredSizeThatIsNone) {
    fakes.preferences.values["Window/Geometry"] = "rubbish";
    app.openWindow();
    EXPECT_EQ(app.window()->size(), QSize(1100, 750));
}

} // namespace
} // namespace lumivert
