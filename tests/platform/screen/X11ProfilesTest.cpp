#include "X11Root.h"
#include "platform/screen/DesktopScreenColors.h"
#include "platform/screen/LcmsScreenConversion.h"
#include "platform/screen/TestProfiles.h"

#include <QGuiApplication>
#include <QScreen>
#include <QSignalSpy>
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
        changes.clear();
    }

    const QString screen = QGuiApplication::primaryScreen()->name();
    X11Root root;
    std::unique_ptr<ScreenProfiles> profiles = x11Profiles();
    QSignalSpy changes{profiles.get(), &ScreenProfiles::changed};
};

TEST_F(X11Profiles, areTheRootWindowsProperties) {
    EXPECT_EQ(profiles->profileOf(screen), QByteArray());
    const QByteArray large(400'000, 'p');
    root.set("_ICC_PROFILE", large);
    ASSERT_TRUE(QTest::qWaitFor([&] { return changes.count() == 1; }));
    EXPECT_EQ(profiles->profileOf(screen), large);
    EXPECT_EQ(profiles->profileOf("no such screen"), QByteArray());
    root.remove("_ICC_PROFILE");
    ASSERT_TRUE(QTest::qWaitFor([&] { return changes.count() == 2; }));
    EXPECT_EQ(profiles->profileOf(screen), QByteArray());
}

TEST_F(X11Profiles, heedNoOtherProperty) {
    root.set("_ANOTHER_PROPERTY", "x");
    QTest::qWait(50);
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(X11Profiles, areConversionsThatStayAsLongAsTheProfileDoes) {
    DesktopScreenColors colors(std::move(profiles), lcmsScreenConversion);
    int announced = 0;
    const Subscription subscription = colors.subscribe([&] { ++announced; });
    const std::string name = screen.toStdString();
    const auto set = [&](const QByteArray& profile) {
        announced = 0;
        root.set("_ICC_PROFILE", profile);
        return QTest::qWaitFor([&] { return announced > 0; });
    };
    EXPECT_EQ(colors.conversionFor(name), nullptr);
    ASSERT_TRUE(set(text(wideGamutProfile())));
    const auto wide = colors.conversionFor(name);
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(colors.conversionFor(name), wide);
    ASSERT_TRUE(set(text(wideGamutProfile())));
    EXPECT_EQ(colors.conversionFor(name), wide) << "the same profile once more";
    ASSERT_TRUE(set(text(rgbTableProfile())));
    EXPECT_NE(colors.conversionFor(name), nullptr);
    EXPECT_NE(colors.conversionFor(name), wide);
    ASSERT_TRUE(set("no profile at all"));
    EXPECT_EQ(colors.conversionFor(name), nullptr);
}

TEST(DesktopScreenColors, takesSrgbWhereTheDesktopSaysNothing) {
    DesktopScreenColors colors(nullptr, lcmsScreenConversion);
    EXPECT_EQ(colors.conversionFor("any"), nullptr);
}

TEST(DesktopScreenColors, asksTheXServerOnX11) {
    X11Root root;
    root.set("_ICC_PROFILE", "bytes");
    const auto profiles = desktopProfiles();
    ASSERT_NE(profiles, nullptr);
    EXPECT_EQ(profiles->profileOf(QGuiApplication::primaryScreen()->name()), "bytes");
}

} // namespace
} // namespace lumivert
