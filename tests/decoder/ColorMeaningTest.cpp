#include "decoder/PhotoFacts.h"
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

/// The check of a PNG's chunk (PNG, annex D).
std::string pngCheck(const std::string& bytes) {
    std::uint32_t crc = 0xffffffff;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int i = 0; i < 8; ++i)
            crc = crc & 1 ? 0xedb88320 ^ crc >> 1 : crc >> 1;
    }
    return lumivert::test::TiffWriter(false).number(crc ^ 0xffffffff, 4);
}

/// A PNG with chunks before its first IDAT.
std::string pngWith(const std::string& png,
                    const std::vector<std::pair<std::string, std::string>>& chunks) {
    const lumivert::test::TiffWriter writer(false);
    std::string more;
    for (const auto& [type, data] : chunks)
        more += writer.number(data.size(), 4) + type + data + pngCheck(type + data);
    return png.substr(0, 33) + more + png.substr(33);
}

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
    // sRGB before gAMA, and what nobody knows is not there.
    EXPECT_EQ(profileWith({{"gAMA", gamma}, {"sRGB", std::string(1, '\0')}}, plain),
              profileOf(1, 13, 3));
    EXPECT_TRUE(profileWith({{"cICP", std::string("\x63\x63\0\x01", 4)}}, plain).empty());
}

TEST(ColorMeaning, isLightBroughtDownToPaperWhereItIsBrighter) {
    for (const int transfer : {16, 18}) {
        SCOPED_TRACE(transfer);
        const Bytes profile = profileOf(9, transfer, 3);
        ASSERT_FALSE(profile.empty());
        double last = -1;
        for (int i = 0; i <= 40; ++i) {
            const double light = lightOf(profile, i / 40.0);
            EXPECT_GE(light, last - 1e-6) << i;
            last = light;
        }
        EXPECT_NEAR(lightOf(profile, 0), 0, 1e-4);
        EXPECT_NEAR(lightOf(profile, 1), 1, 1e-3);
    }
    // Dark tones keep their light: 20 cd/m² by SMPTE ST 2084 is 0.3570.
    EXPECT_NEAR(lightOf(profileOf(9, 16, 3), 0.3570), 20.0 / 203, 0.002);
    // 203 cd/m² keep some distance from the paper's white, for what is brighter.
    EXPECT_NEAR(lightOf(profileOf(9, 16, 3), 0.5807), 0.78, 0.03);
    EXPECT_TRUE(profileOf(9, 99, 3).empty());
    EXPECT_TRUE(profileOf(99, 13, 3).empty());
    EXPECT_TRUE(profileOf(1, 13, 4).empty());
}

TEST(ColorMeaning, isWhatAnAvifStates) {
    const auto p3 = avifStating(12, 13, 128);
    if (!p3)
        GTEST_SKIP() << "libheif has no encoder of AV1 here";
    const auto rows = readRows(*p3);
    ASSERT_TRUE(rows);
    EXPECT_NEAR(rows->at(9, 9, 1), 128, 2);
    EXPECT_EQ(rows->profile, profileOf(12, 13, 3));
    // Light of 203 cd/m² by PQ and by HLG comes out below paper's white, alike on screen and paper.
    for (const auto& [transfer, grey] : {std::pair(16, 148), std::pair(18, 191)}) {
        SCOPED_TRACE(transfer);
        const auto file = avifStating(9, transfer, grey);
        const auto bright = readRows(*file);
        ASSERT_TRUE(bright);
        EXPECT_EQ(bright->profile, profileOf(9, transfer, 3));
        const auto paper = readRows(*file, std::nullopt, Paper{profileOf(1, 13, 3), 1});
        const auto screen = readRendition(*file, 64);
        ASSERT_TRUE(paper && screen);
        EXPECT_NEAR(paper->at(9, 9, 1), 229, 6); // 0.78 of the light, in sRGB
        EXPECT_NEAR(static_cast<int>(screen->words.front() >> 8 & 255), paper->at(9, 9, 1), 1);
    }
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
    const std::string embedded =
        withoutSegments(saved(tagged(plain8(small, {1, 2, 3}), wideGamutBytes()), ".jpg"), 0xe1);
    EXPECT_EQ(readRows(withExif(embedded, exif.bytes()))->profile, wideGamutBytes());
}

} // namespace
} // namespace lumivert::decoder
