#include "X11Root.h"
#include "platform/screen/DesktopScreenColors.h"
#include "platform/screen/TestProfiles.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

namespace lumivert {
namespace {

QByteArray text(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())};
}

class X11Profiles : public testing::Test {
protected:
    X11Profiles() {
        QTest::qWait(50); // what the test before took away
        changes = 0;
    }

    const QString screen = QGuiApplication::primaryScreen()->name();
    X11Root root;
    std::unique_ptr<DesktopScreenColors> profiles = x11ScreenColors();
    int changes = 0;
    const Subscription subscription = profiles->subscribe([this] { ++changes; });
};

TEST_F(X11Profiles, areTheRootWindowsProperties) {
    EXPECT_EQ(profiles->profileOf(screen), QByteArray());
    const QByteArray large(400'000, 'p');
    root.set("_ICC_PROFILE", large);
    ASSERT_TRUE(QTest::qWaitFor([&] { return changes == 1; }));
    EXPECT_EQ(profiles->profileOf(screen), large);
    EXPECT_EQ(profiles->profileOf("no such screen"), QByteArray());
    root.remove("_ICC_PROFILE");
    ASSERT_TRUE(QTest::qWaitFor([&] { return changes == 2; }));
    EXPECT_EQ(profiles->profileOf(screen), QByteArray());
}

TEST_F(X11Profiles, heedNoOtherProperty) {
    root.set("_ANOTHER_PROPERTY", "x");
    QTest::qWait(50);
    EXPECT_EQ(changes, 0);
}

TEST_F(X11Profiles, areConversionsThatStayAsLongAsTheProfileDoes) {
    const std::string name = screen.toStdString();
    const auto set = [&](const QByteArray& profile) {
        changes = 0;
        root.set("_ICC_PROFILE", profile);
        return QTest::qWaitFor([&] { return changes > 0; });
    };
    EXPECT_EQ(profiles->conversionFor(name), nullptr);
    ASSERT_TRUE(set(text(wideGamutProfile())));
    const auto wide = profiles->conversionFor(name);
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(profiles->conversionFor(name), wide);
    ASSERT_TRUE(set(text(wideGamutProfile())));
    EXPECT_EQ(profiles->conversionFor(name), wide) << "the same profile once more";
    ASSERT_TRUE(set(text(rgbTableProfile())));
    EXPECT_NE(profiles->conversionFor(name), nullptr);
    EXPECT_NE(profiles->conversionFor(name), wide);
    ASSERT_TRUE(set("no profile at all"));
    EXPECT_EQ(profiles->conversionFor(name), nullptr);
}

TEST(DesktopScreenColors, asksTheXServerOnX11) {
    X11Root root;
    root.set("_ICC_PROFILE", "bytes");
    const auto profiles = desktopScreenColors();
    ASSERT_NE(profiles, nullptr);
    EXPECT_EQ(profiles->profileOf(QGuiApplication::primaryScreen()->name()), "bytes");
}

} // namespace
} // namespace lumivert
