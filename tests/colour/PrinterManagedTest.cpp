#include "colour/ColorProfiles.h"
#include "colour/Matchers.h"
#include "colour/PaperChain.h"
#include "colour/PatchPhoto.h"

#include <gtest/gtest.h>

namespace lumivert {
namespace {

const Color brickRed{200 / 255.0, 60 / 255.0, 40 / 255.0};

std::vector<Color> all(const Color& color) {
    return std::vector<Color>(std::size_t{patchColumns * patchRows}, color);
}

struct Case {
    std::string name;
    PatchPhotoFile file;
    std::string meaning = {};
};

void PrintTo(const Case& c, std::ostream* out) {
    *out << c.name;
}

std::string nameOf(const testing::TestParamInfo<Case>& test) {
    return test.param.name;
}

class TaggedPhoto : public testing::TestWithParam<Case> {};

// Ghostscript's own conversion is up to 7 off along the borders of the queue's space, and a little
// more than 1 from inks: colours well inside show what the numbers were taken for.
TEST_P(TaggedPhoto, reachesTheDriverConvertedFromItsTag) {
    const auto& [name, file, meaning] = GetParam();
    PaperChain& chain = PaperChain::shared();
    const PatchPhoto photo = writePatchPhoto(chain.folder(), file);

    const auto patches = patchesOf(chain.print({.photo = photo.path}));

    const auto expected =
        convertedByLittleCms(photo.colors, meaning, queueRgbProfile(), RenderingIntent::relative);
    std::vector<Color> arrivedInside;
    std::vector<Color> expectedInside;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto [least, most] = std::minmax_element(expected[i].begin(), expected[i].end());
        if (*least < 0.1 || *most > 0.9)
            continue;
        arrivedInside.push_back(patches[i]);
        expectedInside.push_back(expected[i]);
    }
    EXPECT_GE(expectedInside.size(), 8U);
    EXPECT_TRUE(areWithin(file.channels == 4 ? 2 : 1, arrivedInside, expectedInside));
}

std::vector<Case> taggedPhotos() {
    const std::string adobeRgb = adobeRgbProfile();
    const std::string proPhoto = proPhotoProfile();
    const std::string displayP3 = displayP3Profile();
    const std::string grey = gammaGreyProfile(1.8);
    const std::string inks = inksProfile();
    return {
        {"sRgbJpeg", {.name = "srgb.jpg", .profile = srgbProfile()}, srgbProfile()},
        {"adobeRgbJpegOfACamera", {.name = "r03.jpg", .isOptionR03 = true}, adobeRgb},
        {"adobeRgbJpeg", {.name = "adobe.jpg", .profile = adobeRgb}, adobeRgb},
        {"proPhotoTiff16", {.name = "pro.tif", .bits = 16, .profile = proPhoto}, proPhoto},
        {"displayP3Png", {.name = "p3.png", .profile = displayP3}, displayP3},
        {"greyJpeg", {.name = "grey.jpg", .channels = 1, .profile = grey}, grey},
        {"greyTiff16", {.name = "grey.tif", .channels = 1, .bits = 16, .profile = grey}, grey},
        {"cmykJpeg", {.name = "inks.jpg", .channels = 4, .profile = inks}, inks},
        {"cmykTiff16", {.name = "inks.tif", .channels = 4, .bits = 16, .profile = inks}, inks},
    };
}

INSTANTIATE_TEST_SUITE_P(All, TaggedPhoto, testing::ValuesIn(taggedPhotos()), nameOf);

class UntaggedPhoto : public testing::TestWithParam<Case> {};

TEST_P(UntaggedPhoto, reachesADriverOfItsOwnColorsUnchanged) {
    const auto& [name, file, meaning] = GetParam();
    PaperChain& chain = PaperChain::shared();
    const PatchPhoto photo = writePatchPhoto(chain.folder(), file);
    const char* queue = file.channels == 1 ? "grey" : file.channels == 3 ? "rgb" : "inks";

    const CupsRaster raster = chain.print({.photo = photo.path, .queue = queue});

    EXPECT_TRUE(areWithin(file.bits == 8 ? 0.001 : 1, patchesOf(raster), photo.colors));
}

INSTANTIATE_TEST_SUITE_P(
    All, UntaggedPhoto,
    testing::Values(Case{"rgbJpeg", {.name = "plain.jpg"}}, Case{"rgbPng", {.name = "plain.png"}},
                    Case{"rgbTiff16", {.name = "plain.tif", .bits = 16}},
                    Case{"greyJpeg", {.name = "plain-grey.jpg", .channels = 1}},
                    Case{"greyTiff16", {.name = "plain-grey.tif", .channels = 1, .bits = 16}},
                    Case{"cmykJpeg", {.name = "plain-inks.jpg", .channels = 4}},
                    Case{"cmykTiff16", {.name = "plain-inks.tif", .channels = 4, .bits = 16}}),
    nameOf);

// The figures of docs/colour.md.
TEST(PrinterManaged, aBrickRedArrivesAsItsTagMeansIt) {
    PaperChain& chain = PaperChain::shared();
    const auto arrivesAs = [&](const std::string& tag) {
        const auto photo =
            writePlainPhoto(chain.folder(), {.name = "red.png", .profile = tag}, brickRed);
        return patchesOf(chain.print({.photo = photo.path}));
    };
    EXPECT_TRUE(areWithin(0.001, arrivesAs(""), all(brickRed)));
    EXPECT_TRUE(areWithin(0.001, arrivesAs(srgbProfile()), all(brickRed)));
    EXPECT_TRUE(
        areWithin(0.001, arrivesAs(adobeRgbProfile()), all({231 / 255.0, 57 / 255.0, 34 / 255.0})));
}

// Why a chosen profile must not be left on the photo as a tag.
TEST(PrinterManaged, numbersOfThePrinterTaggedWithItsProfileAreConvertedBack) {
    PaperChain& chain = PaperChain::shared();
    const std::string paper = tablePaperProfile();
    const auto onPaper =
        convertedByLittleCms({brickRed}, queueRgbProfile(), paper, RenderingIntent::relative);
    ASSERT_FALSE(areWithin(10, onPaper, {brickRed}));
    const auto photo =
        writePlainPhoto(chain.folder(), {.name = "back.png", .profile = paper}, onPaper[0]);

    const auto patches = patchesOf(chain.print({.photo = photo.path}));

    EXPECT_TRUE(areWithin(2, patches, all(brickRed)));
}

} // namespace
} // namespace lumivert
