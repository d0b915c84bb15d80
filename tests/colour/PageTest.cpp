#include "colour/ColorProfiles.h"
#include "colour/Matchers.h"
#include "colour/PageFile.h"
#include "colour/PaperChain.h"
#include "colour/PatchPhoto.h"

#include <gmock/gmock.h>

namespace lumivert {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const Color darkBlue{0.1, 0.2, 0.4};

struct Converted {
    std::string name;
    std::string profile;
    std::string space;
};

void PrintTo(const Converted& c, std::ostream* out) {
    *out << c.name;
}

class ConvertedPage : public testing::TestWithParam<Converted> {};

TEST_P(ConvertedPage, holdsPlainDeviceNumbersAndSaysWhatTheyAreOnlyInItsState) {
    PaperChain& chain = PaperChain::shared();
    // 16 bits and a tag of its own, neither of which must get through.
    const PatchPhoto photo = writePatchPhoto(
        chain.folder(), {.name = "tagged.tif", .bits = 16, .profile = proPhotoProfile()});

    const PageFile page = readPage(chain.page({.photo = photo.path,
                                               .profile = GetParam().profile,
                                               .intent = RenderingIntent::saturation}));

    EXPECT_EQ(page.image.at("/ColorSpace"), GetParam().space);
    EXPECT_EQ(page.image.at("/BitsPerComponent"), 8);
    EXPECT_FALSE(page.image.contains("/Intent"));
    EXPECT_FALSE(page.catalog.contains("/OutputIntents"));
    EXPECT_THAT(page.content, StartsWith("/Saturation ri\n/CS0 cs\n"));
    EXPECT_EQ(page.colorSpaceProfile("/CS0"), GetParam().profile);
}

INSTANTIATE_TEST_SUITE_P(All, ConvertedPage,
                         testing::Values(Converted{"toRgb", tablePaperProfile(), "/DeviceRGB"},
                                         Converted{"toGrey", gammaGreyProfile(1.8), "/DeviceGray"},
                                         Converted{"toCmyk", inksProfile(), "/DeviceCMYK"}),
                         [](const auto& test) { return test.param.name; });

TEST(ConvertedPage, carriesEachIntent) {
    PaperChain& chain = PaperChain::shared();
    const auto photo = writePlainPhoto(chain.folder(), {.name = "intent.png"}, darkBlue);
    const std::vector<std::pair<RenderingIntent, std::string>> operators{
        {RenderingIntent::perceptual, "/Perceptual ri\n"},
        {RenderingIntent::relative, "/RelativeColorimetric ri\n"},
        {RenderingIntent::saturation, "/Saturation ri\n"},
        {RenderingIntent::absolute, "/AbsoluteColorimetric ri\n"}};
    for (const auto& [intent, text] : operators) {
        const auto page = readPage(
            chain.page({.photo = photo.path, .profile = matrixPaperProfile(), .intent = intent}));
        EXPECT_THAT(page.content, StartsWith(text));
    }
}

TEST(ConvertedPage, arrivesUnchangedAtAGreyPrinterAndAtOneOfInks) {
    PaperChain& chain = PaperChain::shared();
    const PatchPhoto photo = writePatchPhoto(chain.folder(), {.name = "to-other.png"});
    for (const auto intent : allCases<RenderingIntent>()) {
        SCOPED_TRACE(rawValue(intent));
        const std::string grey = gammaGreyProfile(1.8);
        EXPECT_TRUE(areWithin(
            1,
            patchesOf(chain.print(
                {.photo = photo.path, .profile = grey, .intent = intent, .queue = "grey"})),
            convertedByLittleCms(photo.colors, srgbProfile(), grey, intent)));
        const std::string inks = inksProfile();
        EXPECT_TRUE(areWithin(
            1,
            patchesOf(chain.print(
                {.photo = photo.path, .profile = inks, .intent = intent, .queue = "inks"})),
            convertedByLittleCms(photo.colors, srgbProfile(), inks, intent)));
    }
}

TEST(UnusableProfile, leavesThePhotoUnconverted) {
    PaperChain& chain = PaperChain::shared();
    const PatchPhoto photo = writePatchPhoto(chain.folder(), {.name = "unusable.png"});
    for (const auto& profile : {inputOnlyProfile(), deviceLinkProfile(), std::string("no profile"),
                                tablePaperProfile().substr(0, 1000)})
        EXPECT_TRUE(areWithin(0.001,
                              patchesOf(chain.print({.photo = photo.path, .profile = profile})),
                              photo.colors));
}

bool isWhiteOutside(const CupsRaster& raster, int margin) {
    for (int y = 0; y < raster.height; ++y)
        for (int x = 0; x < raster.width; ++x) {
            const bool inside = x >= margin && x < raster.width - margin && y >= margin &&
                                y < raster.height - margin;
            for (int channel = 0; channel < 3; ++channel)
                if (!inside && raster.at(x, y, channel) != 255)
                    return false;
        }
    return true;
}

// 25.4 mm are 72 pixels.
TEST(WhiteMargins, stayBareAtTheDriverUnderEveryIntent) {
    PaperChain& chain = PaperChain::shared();
    const auto white = writePlainPhoto(chain.folder(), {.name = "white.png"}, {1, 1, 1});
    const auto dark = writePlainPhoto(chain.folder(), {.name = "dark.png"}, darkBlue);
    for (const auto intent : allCases<RenderingIntent>()) {
        SCOPED_TRACE(rawValue(intent));
        const auto print = [&](const PatchPhoto& photo) {
            return chain.print({.photo = photo.path,
                                .profile = tablePaperProfile(),
                                .intent = intent,
                                .margin = 25.4});
        };
        const CupsRaster aroundDark = print(dark);
        EXPECT_TRUE(isWhiteOutside(aroundDark, 72));
        EXPECT_FALSE(isWhiteOutside(aroundDark, 73));
        const CupsRaster aroundWhite = print(white);
        EXPECT_TRUE(isWhiteOutside(aroundWhite, 72));
        // This paper is yellowish, so that an absolute white asks it for a little blue: the intent
        // was at work right beside the margins.
        const Color middle = aroundWhite.mean(140, 210, 8, 8);
        if (intent == RenderingIntent::absolute)
            EXPECT_LT(middle[0], middle[2]);
        else
            EXPECT_TRUE(areWithin(0.001, {middle}, {{1, 1, 1}}));
    }
}

} // namespace
} // namespace lumivert
