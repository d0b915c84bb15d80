#include "decoder/CodePoints.h"
#include "decoder/HeifPhotos.h"
#include "decoder/PlainPhotos.h"
#include "decoder/Profiles.h"
#include "decoder/TestProfiles.h"
#include "files/TiffWriter.h"

#include <gtest/gtest.h>

#include <array>

namespace lumivert::decoder {
namespace {

using namespace test;
using vips::VImage;

std::string fractions(const std::vector<int>& hundredThousandths) {
    const lumivert::test::TiffWriter writer(false);
    std::string text;
    for (const int value : hundredThousandths)
        text += writer.number(static_cast<std::uint64_t>(value), 4);
    return text;
}

/// The light of a grey value by the profile, 1 for white.
double lightOf(const Bytes& profile, double value) {
    const Profile from = openProfile(profile);
    const Profile to(cmsCreateXYZProfile());
    const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
        cmsCreateTransform(from.get(), TYPE_RGB_DBL, to.get(), TYPE_XYZ_DBL,
                           INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE),
        &cmsDeleteTransform);
    const std::array<double, 3> pixel{value, value, value};
    cmsCIEXYZ xyz{};
    cmsDoTransform(way.get(), pixel.data(), &xyz, 1);
    return xyz.Y;
}

TEST(ColorMeaning, isWhatAPngStates) {
    const std::string plain = saved(plain8(small, {200, 60, 40}), ".png");
    const auto profileWith = [&](const std::vector<std::pair<std::string, std::string>>& chunks,
                                 const std::string& png) {
        const auto rows = readRows(pngWith(png, chunks));
        return rows ? rows->profile : Bytes(1);
    };
    const std::string gamma = fractions({100000 / 2});
    const std::string rec2020 = fractions({31270, 32900, 70800, 29200, 17000, 79700, 13100, 4600});
    const std::string p3(std::string("\x0c\x0d\0\x01", 4));
    EXPECT_TRUE(profileWith({}, plain).empty());
    EXPECT_EQ(profileWith({{"cICP", p3}}, plain), profileOf(12, 13, 3));
    EXPECT_EQ(profileWith({{"sRGB", std::string(1, '\0')}}, plain), profileOf(1, 13, 3));
    EXPECT_NEAR(lightOf(profileWith({{"gAMA", gamma}}, plain), 0.5), 0.25, 0.001);
    EXPECT_NE(profileWith({{"gAMA", gamma}, {"cHRM", rec2020}}, plain),
              profileWith({{"gAMA", gamma}}, plain));
    // cICP before the profile, the profile before all others.
    const std::string embedded =
        saved(tagged(plain8(small, {200, 60, 40}), adobeRgbBytes()), ".png");
    EXPECT_EQ(profileWith({{"cICP", p3}}, embedded), profileOf(12, 13, 3));
    EXPECT_EQ(profileWith({{"gAMA", gamma}}, embedded), adobeRgbBytes());
    EXPECT_EQ(profileWith({{"sRGB", std::string(1, '\0')}}, embedded), adobeRgbBytes());
    // Wherever among the chunks they stand.
    EXPECT_EQ(
        profileWith({{"sRGB", std::string(1, '\0')}, {"gAMA", gamma}, {"cICP", p3}}, embedded),
        profileOf(12, 13, 3));
    // One that is not understood leaves the next its place.
    EXPECT_EQ(profileWith({{"cICP", std::string("\x63\x63\0\x01", 4)}}, embedded), adobeRgbBytes());
    EXPECT_EQ(
        profileWith({{"cICP", std::string("\x0c\x0d\0\0", 4)}, {"sRGB", std::string(1, '\0')}},
                    plain),
        profileOf(1, 13, 3));
    // sRGB before gAMA, and what nobody knows is not there.
    EXPECT_EQ(profileWith({{"gAMA", gamma}, {"sRGB", std::string(1, '\0')}}, plain),
              profileOf(1, 13, 3));
    EXPECT_TRUE(profileWith({{"cICP", std::string("\x63\x63\0\x01", 4)}}, plain).empty());
}

TEST(ColorMeaning, isNothingWhereItsNumbersAreNotKnown) {
    EXPECT_TRUE(profileOf(9, 99, 3).empty());
    EXPECT_TRUE(profileOf(99, 13, 3).empty());
    EXPECT_TRUE(profileOf(1, 13, 4).empty());
}

TEST(ColorMeaning, isWhatHeicAndAvifStateUnlessAProfileStandsBesideIt) {
    int made = 0;
    for (const bool isAv1 : {true, false}) {
        HeifPhoto photo{.isAv1 = isAv1, .bits = 8, .color = [](int, int) {
                            return std::array{0.5, 0.5, 0.5};
                        }};
        photo.primaries = 12;
        photo.transfer = 13;
        const auto p3 = photo.bytes();
        if (!p3)
            continue;
        const auto rows = readRows(*p3);
        ASSERT_TRUE(rows);
        EXPECT_NEAR(rows->at(9, 9, 1), 128, 2);
        EXPECT_EQ(rows->profile, profileOf(12, 13, 3));
        photo.profile = adobeRgbBytes();
        const auto tagged = readRows(*photo.bytes());
        ASSERT_TRUE(tagged);
        EXPECT_EQ(tagged->profile, adobeRgbBytes());
        ++made;
    }
    if (made == 0)
        GTEST_SKIP() << "libheif has no encoder here";
}

TEST(ColorMeaning, isTheEmbeddedProfile) {
    for (const char* suffix : {".jpg", ".png", ".tif", ".webp"}) {
        const auto rows =
            readRows(saved(tagged(plain8(small, {1, 2, 3}), adobeRgbBytes()), suffix));
        ASSERT_TRUE(rows) << suffix;
        EXPECT_EQ(rows->profile, adobeRgbBytes()) << suffix;
    }
}

TEST(ColorMeaning, isAProfileWithOneTableForEveryIntent) {
    const Bytes profile = profileBytes(TableRgb{.hasOnlyPerceptual = true}.profile());
    const std::string file = saved(tagged(plain8(small, {60, 160, 90}), profile), ".tif");
    const auto own = readRows(file);
    ASSERT_TRUE(own);
    EXPECT_EQ(own->profile, profile);
    const auto rendition = readRendition(file, 16);
    ASSERT_TRUE(rendition);
    EXPECT_NE(rendition->words.front(), 0xff3ca05au); // the numbers as sRGB
    for (const std::uint32_t intent : {0u, 1u, 2u, 3u}) {
        const auto rows = readRows(file, std::nullopt, Paper{adobeRgbBytes(), intent});
        ASSERT_TRUE(rows) << intent;
        const Profile from = openProfile(profile);
        const Profile to = openProfile(adobeRgbBytes());
        const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
            cmsCreateTransform(from.get(), TYPE_RGB_DBL, to.get(), TYPE_RGB_DBL, intent,
                               cmsFLAGS_NOOPTIMIZE |
                                   (intent == 3 ? 0 : cmsFLAGS_BLACKPOINTCOMPENSATION)),
            &cmsDeleteTransform);
        const std::array<double, 3> pixel{60 / 255.0, 160 / 255.0, 90 / 255.0};
        std::array<double, 3> expected{};
        cmsDoTransform(way.get(), pixel.data(), expected.data(), 1);
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(rows->at(2, 2, c), 255 * expected[static_cast<std::size_t>(c)], 1)
                << intent << ' ' << c;
    }
}

TEST(ColorMeaning, isNoProfileOfAnotherSpaceAndNoneThatIsNone) {
    const auto grey = readRows(saved(tagged(plain8(small, {9}), adobeRgbBytes()), ".tif"));
    ASSERT_TRUE(grey);
    EXPECT_EQ(grey->channels, 1);
    EXPECT_TRUE(grey->profile.empty());
    const auto broken =
        readRows(saved(tagged(plain8(small, {1, 2, 3}), Bytes(300, std::byte{7})), ".tif"));
    ASSERT_TRUE(broken);
    EXPECT_TRUE(broken->profile.empty());
}

TEST(ColorMeaning, isNoDamagedProfile) {
    const Bytes table = profileBytes(TableRgb().profile());
    const std::vector<std::pair<Pixel, Bytes>> photos{
        {{200, 60, 40}, withDamagedTag(adobeRgbBytes(), "rTRC")},
        {{200, 60, 40}, withDamagedTag(adobeRgbBytes(), "bXYZ")},
        {{200, 60, 40}, withoutTag(adobeRgbBytes(), "gTRC")},
        {{200, 60, 40}, withDamagedTag(table, "A2B0")},
        {{200, 60, 40}, withDamagedTag(table, "A2B1")},
        {{77}, withDamagedTag(plainGreyBytes(), "kTRC")},
        {{77}, withoutTag(plainGreyBytes(), "kTRC")}};
    for (std::size_t i = 0; i < photos.size(); ++i) {
        SCOPED_TRACE(i);
        const auto& [pixel, profile] = photos[i];
        const std::string file = saved(tagged(plain8(small, pixel), profile), ".tif");
        const auto rows = readRows(file);
        ASSERT_TRUE(rows);
        EXPECT_TRUE(rows->profile.empty());
        const auto rendition = readRendition(file, 16);
        ASSERT_TRUE(rendition);
        EXPECT_EQ(rendition->words.front(), pixel.size() == 1 ? 0xff4d4d4du : 0xffc83c28u);
        EXPECT_TRUE(readRows(file, std::nullopt, Paper{adobeRgbBytes(), 0}));
    }
}

TEST(ColorMeaning, isACamerasAdobeRgbUnlessAProfileIsEmbedded) {
    const ExifBuilder exif{.colorSpace = 65535, .interoperabilityIndex = std::string("R03\0", 4)};
    const std::string jpeg = withoutSegments(saved(plain8(small, {1, 2, 3}), ".jpg"), 0xe1);
    const auto stated = readRows(withExif(jpeg, exif.bytes()));
    ASSERT_TRUE(stated);
    EXPECT_EQ(stated->profile, adobeRgbBytes());
    EXPECT_TRUE(readRows(jpeg)->profile.empty());
    // ColorSpace 2, as some cameras write it; 1 is sRGB and 65535 alone says nothing.
    for (const int space : {1, 2, 65535}) {
        const ExifBuilder plain{.colorSpace = static_cast<std::uint16_t>(space)};
        const auto rows = readRows(withExif(jpeg, plain.bytes()));
        ASSERT_TRUE(rows);
        EXPECT_EQ(rows->profile, space == 2 ? adobeRgbBytes() : Bytes()) << space;
    }
    const std::string embedded =
        withoutSegments(saved(tagged(plain8(small, {1, 2, 3}), wideGamutBytes()), ".jpg"), 0xe1);
    EXPECT_EQ(readRows(withExif(embedded, exif.bytes()))->profile, wideGamutBytes());
}

} // namespace
} // namespace lumivert::decoder
