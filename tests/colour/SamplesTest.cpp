#include "colour/ColorProfiles.h"
#include "colour/PaperChain.h"

#include <gtest/gtest.h>
#include <vips/vips8>

#include <algorithm>
#include <cstdlib>

namespace lumivert {
namespace {

using vips::VImage;

// A photo has no flat patches, and Ghostscript takes one of the 7 x 7 pixels that fall on a pixel
// of the sheet. Where the 49 come out alike, what arrives must lie between them.
TEST(Samples, aDisplayP3HeicReachesTheDriverAsLittleCmsConverts) {
    const char* samples = std::getenv("LUMIVERT_SAMPLES");
    if (!samples)
        GTEST_SKIP() << "LUMIVERT_SAMPLES is not set";
    const std::string path = std::string(samples) + "/iphone_7.heic";
    const VImage photo = VImage::new_from_file(path.c_str());
    std::size_t profileSize = 0;
    const void* profileData = photo.get_blob(VIPS_META_ICC_NAME, &profileSize);
    const std::string displayP3(static_cast<const char*>(profileData), profileSize);
    constexpr int cell = 7;
    // The sheet shows the middle of a photo of 4:3 that fills its height.
    ASSERT_EQ(photo.bands(), 3);
    ASSERT_EQ(photo.width(), 576 * cell);
    ASSERT_EQ(photo.height(), 432 * cell);
    const VImage shown = photo.extract_area(144 * cell, 0, 288 * cell, 432 * cell).copy_memory();
    std::vector<std::pair<int, int>> places;
    std::vector<Color> pixels;
    for (int y = 4; y < 432; y += 9)
        for (int x = 4; x < 288; x += 9) {
            places.emplace_back(x, y);
            for (int i = 0; i < cell * cell; ++i) {
                const unsigned char* from =
                    VIPS_IMAGE_ADDR(shown.get_image(), x * cell + i % cell, y * cell + i / cell);
                pixels.push_back({from[0] / 255.0, from[1] / 255.0, from[2] / 255.0});
            }
        }
    PaperChain& chain = PaperChain::shared();

    // Each takes five seconds: the tagged PNG stands for the rest.
    std::vector<std::pair<RenderingIntent, std::string>> ways{
        {RenderingIntent::relative, matrixPaperProfile()}};
    for (const auto intent : allCases<RenderingIntent>())
        ways.emplace_back(intent, tablePaperProfile());
    for (const auto& [intent, profile] : ways) {
        const CupsRaster raster =
            chain.print({.photo = path, .profile = profile, .intent = intent});
        const auto converted = convertedByLittleCms(pixels, displayP3, profile, intent);
        int compared = 0;
        int off = 0;
        auto next = converted.begin();
        for (const auto& [x, y] : places) {
            const auto first = next;
            next += cell * cell;
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const auto [least, most] =
                    std::minmax_element(first, next, [&](const Color& a, const Color& b) {
                        return a[channel] < b[channel];
                    });
                const double lowest = (*least)[channel] * 255;
                const double highest = (*most)[channel] * 255;
                if (highest - lowest > 4)
                    continue;
                ++compared;
                const int arrived = raster.at(x, y, static_cast<int>(channel));
                if (arrived < lowest - 1 || arrived > highest + 1)
                    ++off;
            }
        }
        EXPECT_GT(compared, 200) << rawValue(intent);
        EXPECT_EQ(off, 0) << "of " << compared << ", " << rawValue(intent);
    }
}

} // namespace
} // namespace lumivert
