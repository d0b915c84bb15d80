#include "platform/screen/LcmsScreenConversion.h"

#include "platform/screen/TestProfiles.h"

#include <gtest/gtest.h>
#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace lumivert {
namespace {

std::array<int, 3> channels(std::uint32_t word) {
    return {int(word >> 16 & 0xff), int(word >> 8 & 0xff), int(word & 0xff)};
}

/// What Little CMS makes of it in floating point, unoptimised.
std::array<double, 3> exact(const Bytes& profile, std::uint32_t word) {
    const cmsHPROFILE screen =
        cmsOpenProfileFromMem(profile.data(), static_cast<cmsUInt32Number>(profile.size()));
    const cmsHPROFILE photo = cmsCreate_sRGBProfile();
    const cmsHTRANSFORM transform = cmsCreateTransform(
        photo, TYPE_RGB_DBL, screen, TYPE_RGB_DBL, INTENT_RELATIVE_COLORIMETRIC,
        cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE);
    std::array<double, 3> in{};
    std::array<double, 3> out{};
    for (std::size_t c = 0; c < 3; ++c)
        in[c] = channels(word)[c] / 255.0;
    cmsDoTransform(transform, in.data(), out.data(), 1);
    cmsDeleteTransform(transform);
    cmsCloseProfile(screen);
    cmsCloseProfile(photo);
    return out;
}

std::vector<std::uint32_t> manyColours() {
    std::vector<std::uint32_t> words;
    for (std::uint32_t r = 0; r < 256; r += 51)
        for (std::uint32_t g = 0; g < 256; g += 51)
            for (std::uint32_t b = 0; b < 256; b += 51)
                words.push_back(0xff000000 | r << 16 | g << 8 | b);
    return words;
}

void expectAsLittleCms(const Bytes& profile, double tolerance) {
    const auto conversion = lcmsScreenConversion(profile);
    ASSERT_NE(conversion, nullptr);
    const std::vector<std::uint32_t> before = manyColours();
    std::vector<std::uint32_t> after = before;
    (*conversion)(after);
    int moved = 0;
    // White is the last, and the screen's own white whatever its tables make of it.
    ASSERT_EQ(after.back(), 0xffffffffU);
    for (std::size_t i = 0; i + 1 < before.size(); ++i) {
        const auto expected = exact(profile, before[i]);
        EXPECT_EQ(after[i] >> 24, 0xffU);
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_NEAR(channels(after[i])[c], std::clamp(expected[c], 0.0, 1.0) * 255, tolerance)
                << std::hex << before[i] << " channel " << c;
        moved += after[i] != before[i];
    }
    EXPECT_GT(moved, 100) << "the profile is another than sRGB";
}

TEST(LcmsScreenConversion, convertsIntoAWideGamutAsLittleCmsDoes) {
    expectAsLittleCms(wideGamutProfile(), 1);
}

TEST(LcmsScreenConversion, convertsThroughTablesAsLittleCmsDoes) {
    expectAsLittleCms(rgbTableProfile(), 2);
}

TEST(LcmsScreenConversion, leavesWhiteAndBlackAsTheyAre) {
    std::array<std::uint32_t, 2> words{0xffffffff, 0xff000000};
    (*lcmsScreenConversion(wideGamutProfile()))(words);
    EXPECT_EQ(words, (std::array<std::uint32_t, 2>{0xffffffff, 0xff000000}));
}

TEST(LcmsScreenConversion, isNoneForWhatNoScreenHas) {
    const Bytes whole = wideGamutProfile();
    for (const std::size_t size : {std::size_t{0}, std::size_t{100}, whole.size() / 2})
        EXPECT_EQ(lcmsScreenConversion(std::span(whole).first(size)), nullptr) << size;
    EXPECT_EQ(lcmsScreenConversion(withoutTag(whole, "gXYZ")), nullptr);
    EXPECT_EQ(lcmsScreenConversion(greyProfile()), nullptr);
    EXPECT_EQ(lcmsScreenConversion(cmykProfile(TablesOf::bothWays)), nullptr);
    EXPECT_EQ(lcmsScreenConversion(labColorSpaceProfile()), nullptr);
    EXPECT_EQ(lcmsScreenConversion(deviceLink()), nullptr);
}

} // namespace
} // namespace lumivert
