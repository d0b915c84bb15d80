#include "decoder/Profiles.h"
#include "decoder/TestPhotos.h"
#include "decoder/TestProfiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace lumivert::decoder {
namespace {

using test::image16;
using test::image8;
using test::readRendition;
using test::saved;
using Rgb = std::array<double, 3>;

constexpr std::array<Rgb, 7> patches{{{1, 1, 1},
                                      {0, 0, 0},
                                      {0.5, 0.5, 0.5},
                                      {0.9, 0.1, 0.1},
                                      {0.1, 0.8, 0.2},
                                      {0.1, 0.1, 1},
                                      {0.8, 0.7, 0.6}}};
constexpr int side = 8;
constexpr PixelSize size{side * static_cast<int>(patches.size()), side};

double level(int x, int channel) {
    return patches[static_cast<std::size_t>(x / side)][static_cast<std::size_t>(channel)];
}

Rgb converted(const Profile& from, const Profile& to, std::uint32_t intent, bool withBlackPoint,
              Rgb color, int channels = 3) {
    const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
        cmsCreateTransform(from.get(), channels == 1 ? TYPE_GRAY_DBL : TYPE_RGB_DBL, to.get(),
                           TYPE_RGB_DBL, intent,
                           cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE |
                               (withBlackPoint ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0)),
        &cmsDeleteTransform);
    Rgb result{};
    cmsDoTransform(way.get(), color.data(), result.data(), 1);
    return result;
}

// A paper of a warm white: 85 in 100, with less blue than the light.
const test::TableRgb warmPaper{.paper = {0.84, 0.86, 0.60}};

/// Into the paper with the intent, and from there to the screen, relative to the paper's white.
Rgb proofed(const Profile& from, const Profile& paper, std::uint32_t intent, const Rgb& color,
            int channels) {
    const Rgb ink =
        converted(from, paper, intent, intent != INTENT_ABSOLUTE_COLORIMETRIC, color, channels);
    return converted(paper, srgbProfile(), INTENT_RELATIVE_COLORIMETRIC, false, ink);
}

void expectProofs(const std::string& file, const Profile& from, int channels) {
    const Profile paper = warmPaper.profile();
    const Bytes bytes = test::profileBytes(paper);
    for (const std::uint32_t intent : {0u, 1u, 2u, 3u}) {
        const auto rendition = readRendition(file, size.width, Paper{bytes, intent});
        ASSERT_TRUE(rendition);
        ASSERT_EQ(rendition->size, size);
        for (std::size_t i = 0; i < patches.size(); ++i) {
            const Rgb expected = proofed(from, paper, intent, patches[i], channels);
            const std::size_t at =
                static_cast<std::size_t>(side / 2) * size.width + i * side + side / 2;
            for (std::size_t c = 0; c < 3; ++c)
                EXPECT_NEAR(rendition->words[at] >> (16 - 8 * c) & 0xff,
                            std::clamp(255 * expected[c], 0.0, 255.0), 1.5)
                    << "intent " << intent << ", patch " << i << ", channel " << c;
        }
    }
}

TEST(SoftProof, showsEachIntentAsLittleCmsComputesIt) {
    expectProofs(saved(image8(size, 3,
                              [](int x, int, int c) {
                                  return static_cast<int>(std::lround(255 * level(x, c)));
                              }),
                       ".png"),
                 srgbProfile(), 3);
}

TEST(SoftProof, goesThroughTheDepthAndTheSpaceOfThePhoto) {
    vips::VImage image = image16(size, 3, [](int x, int, int c) {
        return static_cast<int>(std::lround(65535 * level(x, c)));
    });
    image = image.copy();
    const Bytes& adobe = adobeRgbBytes();
    image.set("icc-profile-data", nullptr, const_cast<std::byte*>(adobe.data()), adobe.size());
    expectProofs(saved(image, ".tif"), openProfile(adobe), 3);
}

TEST(SoftProof, showsGreyAsPaperHasIt) {
    expectProofs(saved(image8(size, 1,
                              [](int x, int, int) {
                                  return static_cast<int>(std::lround(255 * level(x, 0)));
                              }),
                       ".png"),
                 sourceProfile({}, 1), 1);
}

TEST(SoftProof, differsByIntentOnATintedPaper) {
    const std::string file = saved(test::plain8(size, {255, 255, 255}), ".png");
    const Bytes paper = test::profileBytes(warmPaper.profile());
    const auto relative =
        readRendition(file, size.width, Paper{paper, INTENT_RELATIVE_COLORIMETRIC});
    const auto absolute =
        readRendition(file, size.width, Paper{paper, INTENT_ABSOLUTE_COLORIMETRIC});
    ASSERT_TRUE(relative && absolute);
    EXPECT_NE(relative->words, absolute->words);
}

} // namespace
} // namespace lumivert::decoder
