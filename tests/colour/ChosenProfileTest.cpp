#include "colour/ColorProfiles.h"
#include "colour/Matchers.h"
#include "colour/PaperChain.h"
#include "colour/PatchPhoto.h"

#include <gtest/gtest.h>

namespace lumivert {
namespace {

struct Source {
    std::string name;
    PatchPhotoFile file;
    /// What its numbers mean; empty stands for sRGB.
    std::string meaning;
    /// Printed as grey sRGB: a photo of one channel that states nothing.
    bool isGreySrgb = false;
};

std::vector<Source> sources() {
    const std::string adobeRgb = adobeRgbProfile();
    const std::string proPhoto = proPhotoProfile();
    const std::string displayP3 = displayP3Profile();
    const std::string grey = gammaGreyProfile(1.8);
    const std::string inks = inksProfile();
    return {
        {"sRgbJpeg", {.name = "srgb.jpg"}, srgbProfile()},
        {"adobeRgbJpegOfACamera", {.name = "r03.jpg", .isOptionR03 = true}, adobeRgb},
        {"adobeRgbJpeg", {.name = "adobe.jpg", .profile = adobeRgb}, adobeRgb},
        {"proPhotoTiff16", {.name = "pro.tif", .bits = 16, .profile = proPhoto}, proPhoto},
        {"displayP3Png", {.name = "p3.png", .profile = displayP3}, displayP3},
        {"greyJpeg", {.name = "grey.jpg", .channels = 1}, srgbProfile(), true},
        {"gammaGreyTiff16", {.name = "grey.tif", .channels = 1, .bits = 16, .profile = grey}, grey},
        {"cmykJpeg", {.name = "inks.jpg", .channels = 4, .profile = inks}, inks},
        {"cmykTiff16", {.name = "inks.tif", .channels = 4, .bits = 16, .profile = inks}, inks},
    };
}

void PrintTo(const Source& source, std::ostream* out) {
    *out << source.name;
}

enum class Paper { matrix, tables };

class ChosenProfile : public testing::TestWithParam<std::tuple<Source, Paper, RenderingIntent>> {};

TEST_P(ChosenProfile, reachesTheDriverAsLittleCmsConverts) {
    const auto& [source, paper, intent] = GetParam();
    PaperChain& chain = PaperChain::shared();
    const PatchPhoto photo = writePatchPhoto(chain.folder(), source.file);
    const std::string profile = paper == Paper::matrix ? matrixPaperProfile() : tablePaperProfile();

    const CupsRaster raster =
        chain.print({.photo = photo.path, .profile = profile, .intent = intent});

    ASSERT_EQ(raster.channels, 3);
    std::vector<Color> colors = photo.colors;
    if (source.isGreySrgb)
        for (Color& color : colors)
            color.resize(3, color[0]);
    EXPECT_TRUE(areWithin(1, patchesOf(raster),
                          convertedByLittleCms(colors, source.meaning, profile, intent)));
}

std::string nameOf(const testing::TestParamInfo<ChosenProfile::ParamType>& test) {
    const auto& [source, paper, intent] = test.param;
    const std::string intentName(rawValue(intent));
    return source.name + (paper == Paper::matrix ? "ToAMatrix" : "ToTables") +
           intentName.substr(0, intentName.find(' '));
}

INSTANTIATE_TEST_SUITE_P(All, ChosenProfile,
                         testing::Combine(testing::ValuesIn(sources()),
                                          testing::Values(Paper::matrix, Paper::tables),
                                          testing::ValuesIn(allCases<RenderingIntent>())),
                         nameOf);

} // namespace
} // namespace lumivert
