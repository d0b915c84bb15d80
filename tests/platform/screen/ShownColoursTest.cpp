#include "X11Root.h"
#include "platform/screen/DesktopScreenColors.h"
#include "platform/screen/LcmsScreenConversion.h"
#include "platform/screen/TestProfiles.h"
#include "views/ViewFixture.h"
#include "views/preview/PaperPreview.h"

#include <array>

namespace lumivert {
namespace {

/// The preview on a real X server, whose root window carries a profile.
class ShownColours : public ViewTest {
protected:
    ShownColours() {
        pm->borderless = true;
        pm->image = image;
        preview.resize(300, 400);
        keepFresh(&preview, *pm);
        preview.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&preview));
    }

    void setProfile(const Bytes& profile) {
        root.set("_ICC_PROFILE", {reinterpret_cast<const char*>(profile.data()),
                                  static_cast<qsizetype>(profile.size())});
    }
    QRgb shown() { return preview.grab().toImage().pixel(150, 200); }
    bool shows(QRgb color) {
        return QTest::qWaitFor([&] { return shown() == color; });
    }
    static QRgb on(const Bytes& profile, QRgb color) {
        std::array<std::uint32_t, 1> word{color};
        (*lcmsScreenConversion(profile))(word);
        return word[0];
    }

    X11Root root;
    std::unique_ptr<ScreenColors> screens = x11ScreenColors();
    std::shared_ptr<fakes::FakeImage> image =
        std::make_shared<fakes::FakeImage>(PixelSize{210, 297});
    PaperPreview preview{*pm, screens.get()};
};

constexpr QRgb grey = qRgb(0x80, 0x80, 0x80);

TEST_F(ShownColours, areTheScreensOwnAndFollowItsProfile) {
    EXPECT_EQ(shown(), grey);
    setProfile(wideGamutProfile());
    EXPECT_NE(on(wideGamutProfile(), grey), grey);
    EXPECT_TRUE(shows(on(wideGamutProfile(), grey)));
    ASSERT_TRUE(QTest::qWaitFor([&] { return preview.isSettled(); }));
    EXPECT_EQ(shown(), on(wideGamutProfile(), grey)) << "settled as drawn";
    setProfile(rgbTableProfile());
    EXPECT_TRUE(shows(on(rgbTableProfile(), grey)));
    setProfile({std::byte{'x'}});
    EXPECT_TRUE(shows(grey));
    setProfile(wideGamutProfile());
    EXPECT_TRUE(shows(on(wideGamutProfile(), grey)));
    root.remove("_ICC_PROFILE");
    EXPECT_TRUE(shows(grey));
}

TEST_F(ShownColours, areTheScreensOwnInAProofToo) {
    setProfile(wideGamutProfile());
    fakes.files.files["/p.icc"] = "profile P";
    pm->availableICCProfiles = std::vector<ICCProfile>{{"p", "P", "/p.icc", false}};
    pm->selectedICCProfileID = "p";
    fakes.dispatcher.runMain();
    ASSERT_EQ(image->proofs.size(), 1U);
    image->proofs[0].completion(
        std::make_shared<ScreenRendition>(fakes::FakeImage::plain({64, 90}, 0x30)));
    fakes.dispatcher.runMain();
    EXPECT_TRUE(shows(on(wideGamutProfile(), qRgb(0x30, 0x30, 0x30))));
}

TEST_F(ShownColours, leaveThePaperWhite) {
    pm->borderless = false;
    pm->margins = Margins{.top = 100};
    setProfile(wideGamutProfile());
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return preview.grab().toImage().pixel(150, 300) == on(wideGamutProfile(), grey); }));
    EXPECT_EQ(preview.grab().toImage().pixel(150, 120), qRgb(255, 255, 255));
}

} // namespace
} // namespace lumivert
