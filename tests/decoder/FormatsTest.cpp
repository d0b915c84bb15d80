#include "decoder/Photo.h"
#include "decoder/PhotoFacts.h"
#include "decoder/Profiles.h"
#include "decoder/StatedColors.h"
#include "decoder/TestPhotos.h"
#include "decoder/TestProfiles.h"
#include "files/SensorPhoto.h"
#include "files/TiffWriter.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace lumivert::decoder {
namespace {

using test::image16;
using test::image8;
using test::plain8;
using test::readRows;
using test::saved;
using vips::VImage;
using Pixel = std::vector<int>;

vips::VOption* options() {
    return VImage::option();
}

// What a file of one colour comes out as, and in which form.
struct Outcome {
    int channels = 0;
    int bits = 0;
    Pixel pixel;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    stream << outcome.channels << " channels of " << outcome.bits << " bits:";
    for (const int sample : outcome.pixel)
        stream << " " << sample;
    return stream;
}

Outcome outcome(const std::string& file, int x = 2, int y = 2) {
    const auto rows = readRows(file);
    if (!rows)
        return {};
    Outcome result{rows->channels, rows->bits, {}};
    for (int c = 0; c < rows->channels; ++c)
        result.pixel.push_back(rows->at(x, y, c));
    return result;
}

void expectNear(const Outcome& got, const Outcome& expected, int tolerance) {
    ASSERT_EQ(got.channels, expected.channels);
    EXPECT_EQ(got.bits, expected.bits);
    for (std::size_t c = 0; c < expected.pixel.size(); ++c)
        EXPECT_NEAR(got.pixel[c], expected.pixel[c], tolerance) << c;
}

const PixelSize small{16, 16};

VImage plain16(const Pixel& pixel) {
    return image16(small, static_cast<int>(pixel.size()),
                   [&](int, int, int band) { return pixel[static_cast<std::size_t>(band)]; });
}

VImage plainFloat(const std::vector<double>& pixel, VipsInterpretation meaning) {
    return VImage::black(small.width, small.height)
        .cast(VIPS_FORMAT_FLOAT)
        .new_from_image(pixel)
        .copy(options()->set("interpretation", meaning));
}

VImage plainCmyk(const Pixel& inks) {
    return plain8(small, inks).copy(options()->set("interpretation", VIPS_INTERPRETATION_CMYK));
}

TEST(Formats, readJpegInEveryShape) {
    const Outcome color{3, 8, {200, 60, 40}};
    const VImage image = plain8(small, {200, 60, 40});
    expectNear(outcome(saved(image, ".jpg", options()->set("Q", 100))), color, 3);
    expectNear(outcome(saved(image, ".jpg", options()->set("Q", 100)->set("interlace", true))),
               color, 3);
    expectNear(outcome(saved(plain8(small, {77}), ".jpg")), {1, 8, {77}}, 2);
}

TEST(Formats, readCmykJpegWithNoInkAsZeroHoweverItIsStored) {
    const std::string jpeg = saved(plainCmyk({255, 128, 20, 0}), ".jpg", options()->set("Q", 100));
    expectNear(outcome(jpeg), {4, 8, {255, 128, 20, 0}}, 3);
    const auto markers = readJpegMarkers(test::asBytes(jpeg));
    ASSERT_TRUE(markers);
    EXPECT_TRUE(markers->inverted);
    // Without Adobe's marker the same numbers are what they say.
    const std::string plain = test::withoutSegments(jpeg, 0xee);
    EXPECT_FALSE(readJpegMarkers(test::asBytes(plain))->inverted);
    expectNear(outcome(plain), {4, 8, {0, 127, 235, 255}}, 3);
}

TEST(Formats, readPngOfEightAndSixteenBits) {
    EXPECT_EQ(outcome(saved(plain8(small, {1, 2, 3}), ".png")), (Outcome{3, 8, {1, 2, 3}}));
    EXPECT_EQ(outcome(saved(plain8(small, {77}), ".png")), (Outcome{1, 8, {77}}));
    EXPECT_EQ(outcome(saved(plain16({1, 256, 65535}), ".png")), (Outcome{3, 16, {1, 256, 65535}}));
    EXPECT_EQ(outcome(saved(plain16({4660}), ".png")), (Outcome{1, 16, {4660}}));
    EXPECT_EQ(outcome(saved(plain8(small, {9, 8, 7}), ".png", options()->set("interlace", true))),
              (Outcome{3, 8, {9, 8, 7}}));
}

TEST(Formats, readPalettes) {
    const std::string png =
        saved(plain8(small, {250, 128, 3}), ".png", options()->set("palette", true));
    ASSERT_NE(png.find("PLTE"), std::string::npos);
    expectNear(outcome(png), {3, 8, {250, 128, 3}}, 2);
    expectNear(outcome(saved(plain8(small, {250, 128, 3}), ".gif")), {3, 8, {250, 128, 3}}, 8);
}

TEST(Formats, flattenAlphaOnWhite) {
    EXPECT_EQ(outcome(saved(plain8(small, {200, 0, 0, 0}), ".png")),
              (Outcome{3, 8, {255, 255, 255}}));
    expectNear(outcome(saved(plain8(small, {255, 0, 0, 128}), ".png")), {3, 8, {255, 127, 127}}, 1);
    EXPECT_EQ(outcome(saved(plain8(small, {0, 0}), ".png")), (Outcome{1, 8, {255}}));
    const Outcome deep = outcome(saved(plain16({0, 0, 65535, 32768}), ".png"));
    expectNear(deep, {3, 16, {32767, 32767, 65535}}, 2);
    expectNear(outcome(saved(plain8(small, {255, 0, 0, 128}), ".tif")), {3, 8, {255, 127, 127}}, 2);
    expectNear(
        outcome(saved(plain8(small, {255, 0, 0, 0}), ".webp", options()->set("lossless", true))),
        {3, 8, {255, 255, 255}}, 1);
}

TEST(Formats, readTiffInEveryLayout) {
    const VImage color = image8({70, 50}, 3, [](int x, int y, int band) { return x + y + band; });
    const Outcome expected{3, 8, {100, 101, 102}};
    for (const bool tile : {false, true})
        for (const char* compression : {"none", "lzw", "deflate", "packbits"})
            EXPECT_EQ(outcome(saved(color, ".tif",
                                    options()->set("tile", tile)->set("compression", compression)),
                              60, 40),
                      expected)
                << compression << tile;
    EXPECT_EQ(outcome(saved(color, ".tif", options()->set("bigtiff", true)), 60, 40), expected);
    EXPECT_EQ(outcome(saved(plain16({1, 256, 65535}), ".tif")), (Outcome{3, 16, {1, 256, 65535}}));
    EXPECT_EQ(outcome(saved(plain16({4660}), ".tif")), (Outcome{1, 16, {4660}}));
    expectNear(outcome(saved(plain8({64, 64}, {10, 200, 10}), ".tif",
                             options()->set("compression", "jpeg")->set("Q", 100))),
               {3, 8, {10, 200, 10}}, 4);
}

TEST(Formats, readTiffOfOneTwoAndFourBits) {
    const VImage halves = image8({16, 16}, 1, [](int x, int, int) { return x < 8 ? 0 : 255; });
    for (const int depth : {1, 2, 4}) {
        const std::string tiff = saved(halves, ".tif", options()->set("bitdepth", depth));
        EXPECT_EQ(outcome(tiff, 2, 2), (Outcome{1, 8, {0}})) << depth;
        EXPECT_EQ(outcome(tiff, 12, 2), (Outcome{1, 8, {255}})) << depth;
    }
    const std::string white =
        saved(halves, ".tif", options()->set("bitdepth", 1)->set("miniswhite", true));
    EXPECT_EQ(outcome(white, 2, 2), (Outcome{1, 8, {0}}));
}

TEST(Formats, keepInksOfACmykTiff) {
    EXPECT_EQ(outcome(saved(plainCmyk({255, 128, 20, 0}), ".tif")),
              (Outcome{4, 8, {255, 128, 20, 0}}));
}

TEST(Formats, clipFloats) {
    const auto linear = plainFloat({-0.5, 0.5, 7}, VIPS_INTERPRETATION_scRGB);
    // Half of the light is 188 of 255 in sRGB.
    expectNear(outcome(saved(linear, ".tif")), {3, 16, {0, 48192, 65535}}, 40);
    const Outcome nothing =
        outcome(saved(plainFloat({std::nan(""), 0, 0}, VIPS_INTERPRETATION_scRGB), ".tif"));
    EXPECT_EQ(nothing, (Outcome{3, 16, {0, 0, 0}}));
}

TEST(Formats, takeFloatsWithAProfileAsItsNumbers) {
    VImage image = plainFloat({0, 0.5, 1}, VIPS_INTERPRETATION_scRGB).copy();
    const Bytes& profile = adobeRgbBytes();
    image.set("icc-profile-data", nullptr, const_cast<std::byte*>(profile.data()), profile.size());
    const auto rows = readRows(saved(image, ".tif"));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->profile, profile);
    EXPECT_NEAR(rows->at(2, 2, 1), 32768, 2);
}

TEST(Formats, roundTheMeanOfColourAndWhite) {
    // 0.5 of 255 is 127.5 with white behind it; the sum over all alphas shows a bias.
    double bias = 0;
    for (int alpha = 1; alpha < 255; ++alpha) {
        const Outcome got = outcome(saved(plain8(small, {37, 37, 37, alpha}), ".png"));
        ASSERT_EQ(got.channels, 3);
        const double exact = (37.0 * alpha + 255.0 * (255 - alpha)) / 255;
        EXPECT_NEAR(got.pixel[0], exact, 0.51) << alpha;
        bias += (got.pixel[0] - exact) / 254;
    }
    EXPECT_NEAR(bias, 0, 0.05);
}

TEST(Formats, turnCielabIntoWideRgbOfSixteenBits) {
    const auto lab = plainFloat({50, 60, 40}, VIPS_INTERPRETATION_LAB);
    for (const VImage& image : {lab, lab.colourspace(VIPS_INTERPRETATION_LABS)}) {
        const auto rows = readRows(saved(image, ".tif"));
        ASSERT_TRUE(rows);
        EXPECT_EQ(rows->channels, 3);
        EXPECT_EQ(rows->bits, 16);
        EXPECT_EQ(rows->profile, wideGamutBytes());
        const Profile profile = openProfile(rows->profile);
        const Profile back(cmsCreateLab4Profile(nullptr));
        const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
            cmsCreateTransform(profile.get(), TYPE_RGB_16, back.get(), TYPE_Lab_DBL,
                               INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE),
            &cmsDeleteTransform);
        const std::array<std::uint16_t, 3> pixel{static_cast<std::uint16_t>(rows->at(2, 2, 0)),
                                                 static_cast<std::uint16_t>(rows->at(2, 2, 1)),
                                                 static_cast<std::uint16_t>(rows->at(2, 2, 2))};
        cmsCIELab value{};
        cmsDoTransform(way.get(), pixel.data(), &value, 1);
        EXPECT_NEAR(value.L, 50, 0.5);
        EXPECT_NEAR(value.a, 60, 0.7);
        EXPECT_NEAR(value.b, 40, 0.7);
    }
}

TEST(Formats, readWebp) {
    expectNear(
        outcome(saved(plain8(small, {200, 60, 40}), ".webp", options()->set("lossless", true))),
        {3, 8, {200, 60, 40}}, 1);
}

/// A photo in the container of HEIF; nothing where libheif has no such encoder.
std::optional<std::string> heif(VipsForeignHeifCompression compression) {
    try {
        return saved(plain8({64, 64}, {200, 60, 40}), ".heic",
                     options()->set("compression", compression)->set("Q", 95));
    } catch (const vips::VError&) {
        return std::nullopt;
    }
}

TEST(Formats, readHeicWhereAnEncoderIsThereToMakeOne) {
    const auto file = heif(VIPS_FOREIGN_HEIF_COMPRESSION_HEVC);
    if (!file)
        GTEST_SKIP() << "libheif has no encoder of HEVC here";
    expectNear(outcome(*file), {3, 8, {200, 60, 40}}, 6);
}

TEST(Formats, readAvifWhereAnEncoderIsThereToMakeOne) {
    const auto file = heif(VIPS_FOREIGN_HEIF_COMPRESSION_AV1);
    if (!file)
        GTEST_SKIP() << "libheif has no encoder of AV1 here";
    expectNear(outcome(*file), {3, 8, {200, 60, 40}}, 6);
}

/// A file of every format; nothing where no encoder is here to make one.
std::optional<std::string> sampleOf(PhotoKind kind) {
    const VImage image = plain8(small, {200, 60, 40});
    switch (kind) {
    case PhotoKind::jpeg:
        return saved(image, ".jpg");
    case PhotoKind::png:
        return saved(image, ".png");
    case PhotoKind::tiff:
        return saved(image, ".tif");
    case PhotoKind::heic:
        return heif(VIPS_FOREIGN_HEIF_COMPRESSION_HEVC);
    case PhotoKind::cameraRaw:
        return lumivert::test::SensorPhoto{.width = 64,
                                           .height = 64,
                                           .light =
                                               [](int, int) {
                                                   return std::array{0.5, 0.5, 0.5};
                                               }}
            .bytes();
    case PhotoKind::avif:
        return heif(VIPS_FOREIGN_HEIF_COMPRESSION_AV1);
    case PhotoKind::webp:
        return saved(image, ".webp");
    case PhotoKind::gif:
        return saved(image, ".gif");
    case PhotoKind::jpegXl:
        return saved(image, ".jxl");
    case PhotoKind::jpeg2000:
        return saved(image, ".jp2");
    }
    return std::nullopt;
}

TEST(Formats, areKnownByTheirFirstBytesAndOpened) {
    for (const PhotoFormat& format : photoFormats()) {
        SCOPED_TRACE(format.name);
        const auto file = sampleOf(format.kind);
        if (!file)
            continue;
        const PhotoFormat* found = formatOf(test::asBytes(*file));
        // A camera's file may begin as a TIFF does.
        EXPECT_TRUE(found == &format || format.kind == PhotoKind::cameraRaw);
        EXPECT_EQ(outcome(*file).channels, 3);
        EXPECT_TRUE(test::readRendition(*file, 16));
    }
}

VImage tagged(VImage image, const Bytes& profile) {
    image = image.copy();
    image.set("icc-profile-data", nullptr, const_cast<std::byte*>(profile.data()), profile.size());
    return image;
}

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

TEST(Formats, understandWhatAPngStatesOfItsColours) {
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
    EXPECT_EQ(profileWith({{"cICP", p3}}, plain), profileOf({12, 13}, 3));
    EXPECT_EQ(profileWith({{"sRGB", std::string(1, '\0')}}, plain), profileOf({1, 13}, 3));
    EXPECT_NEAR(lightOf(profileWith({{"gAMA", gamma}}, plain), 0.5), 0.25, 0.001);
    EXPECT_NE(profileWith({{"gAMA", gamma}, {"cHRM", rec2020}}, plain),
              profileWith({{"gAMA", gamma}}, plain));
    // cICP before the profile, the profile before all others.
    const std::string embedded =
        saved(tagged(plain8(small, {200, 60, 40}), adobeRgbBytes()), ".png");
    EXPECT_EQ(profileWith({{"cICP", p3}}, embedded), profileOf({12, 13}, 3));
    EXPECT_EQ(profileWith({{"gAMA", gamma}}, embedded), adobeRgbBytes());
    // sRGB before gAMA, and what nobody knows is not there.
    EXPECT_EQ(profileWith({{"gAMA", gamma}, {"sRGB", std::string(1, '\0')}}, plain),
              profileOf({1, 13}, 3));
    EXPECT_TRUE(profileWith({{"cICP", std::string("\x63\x63\0\x01", 4)}}, plain).empty());
}

TEST(StatedColors, bringLightBrighterThanPaperDownToIt) {
    for (const int transfer : {16, 18}) {
        SCOPED_TRACE(transfer);
        const Bytes profile = profileOf({9, transfer}, 3);
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
    EXPECT_NEAR(lightOf(profileOf({9, 16}, 3), 0.3570), 20.0 / 203, 0.002);
    // 203 cd/m² keep some distance from the paper's white, for what is brighter.
    EXPECT_NEAR(lightOf(profileOf({9, 16}, 3), 0.5807), 0.78, 0.03);
    EXPECT_TRUE(profileOf({9, 99}, 3).empty());
    EXPECT_TRUE(profileOf({99, 13}, 3).empty());
    EXPECT_TRUE(profileOf({1, 13}, 4).empty());
}

TEST(Formats, takeTheFirstPageOfSeveral) {
    const VImage pages = image8({16, 32}, 1, [](int, int y, int) { return y < 16 ? 40 : 90; });
    const std::string tiff = saved(pages.copy(), ".tif", options()->set("page_height", 16));
    const auto rows = readRows(tiff);
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->size, (PixelSize{16, 16}));
    EXPECT_EQ(rows->at(3, 3, 0), 40);
}

TEST(Formats, keepTheEmbeddedProfile) {
    for (const char* suffix : {".jpg", ".png", ".tif", ".webp"}) {
        const auto rows =
            readRows(saved(tagged(plain8(small, {1, 2, 3}), adobeRgbBytes()), suffix));
        ASSERT_TRUE(rows) << suffix;
        EXPECT_EQ(rows->profile, adobeRgbBytes()) << suffix;
    }
}

TEST(Formats, keepAProfileWithOneTableForEveryIntent) {
    const Bytes profile = test::profileBytes(test::TableRgb{.hasOnlyPerceptual = true}.profile());
    const std::string file = saved(tagged(plain8(small, {60, 160, 90}), profile), ".tif");
    const auto own = readRows(file);
    ASSERT_TRUE(own);
    EXPECT_EQ(own->profile, profile);
    const auto rendition = test::readRendition(file, 16);
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

TEST(Formats, ignoreAProfileOfAnotherSpaceAndOneThatIsNone) {
    const auto grey = readRows(saved(tagged(plain8(small, {9}), adobeRgbBytes()), ".tif"));
    ASSERT_TRUE(grey);
    EXPECT_EQ(grey->channels, 1);
    EXPECT_TRUE(grey->profile.empty());
    const auto broken =
        readRows(saved(tagged(plain8(small, {1, 2, 3}), Bytes(300, std::byte{7})), ".tif"));
    ASSERT_TRUE(broken);
    EXPECT_TRUE(broken->profile.empty());
}

TEST(Formats, ignoreADamagedProfile) {
    const Bytes table = test::profileBytes(test::TableRgb().profile());
    const std::vector<std::pair<Pixel, Bytes>> photos{
        {{200, 60, 40}, test::withDamagedTag(adobeRgbBytes(), "rTRC")},
        {{200, 60, 40}, test::withDamagedTag(adobeRgbBytes(), "bXYZ")},
        {{200, 60, 40}, test::withoutTag(adobeRgbBytes(), "gTRC")},
        {{200, 60, 40}, test::withDamagedTag(table, "A2B0")},
        {{200, 60, 40}, test::withDamagedTag(table, "A2B1")},
        {{77}, test::withDamagedTag(plainGreyBytes(), "kTRC")},
        {{77}, test::withoutTag(plainGreyBytes(), "kTRC")}};
    for (std::size_t i = 0; i < photos.size(); ++i) {
        SCOPED_TRACE(i);
        const auto& [pixel, profile] = photos[i];
        const std::string file = saved(tagged(plain8(small, pixel), profile), ".tif");
        const auto rows = readRows(file);
        ASSERT_TRUE(rows);
        EXPECT_TRUE(rows->profile.empty());
        const auto rendition = test::readRendition(file, 16);
        ASSERT_TRUE(rendition);
        EXPECT_EQ(rendition->words.front(), pixel.size() == 1 ? 0xff4d4d4du : 0xffc83c28u);
        EXPECT_TRUE(readRows(file, std::nullopt, Paper{adobeRgbBytes(), 0}));
    }
}

TEST(Formats, tagCamerasAdobeRgbUnlessAProfileIsEmbedded) {
    const test::ExifBuilder exif{.colorSpace = 65535,
                                 .interoperabilityIndex = std::string("R03\0", 4)};
    const std::string jpeg = test::withoutSegments(saved(plain8(small, {1, 2, 3}), ".jpg"), 0xe1);
    const auto stated = readRows(test::withExif(jpeg, exif.bytes()));
    ASSERT_TRUE(stated);
    EXPECT_EQ(stated->profile, adobeRgbBytes());
    EXPECT_TRUE(readRows(jpeg)->profile.empty());
    const std::string embedded = test::withoutSegments(
        saved(tagged(plain8(small, {1, 2, 3}), wideGamutBytes()), ".jpg"), 0xe1);
    EXPECT_EQ(readRows(test::withExif(embedded, exif.bytes()))->profile, wideGamutBytes());
}

TEST(Formats, refuseWhatIsNoPhoto) {
    for (const std::string& file :
         {std::string(), std::string("x"), std::string(5000, '\0'), std::string("%PDF-1.4\n%..."),
          std::string("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>"),
          std::string("P5 2 2 255 abcd"), std::string("\xff\xd8\xff"), std::string("II*\0", 4)})
        EXPECT_FALSE(readRows(file));
}

TEST(Formats, refuseDataThatEndsEarly) {
    const VImage noise = VImage::gaussnoise(300, 300).cast(VIPS_FORMAT_UCHAR);
    for (const char* suffix : {".jpg", ".jpg[interlace]", ".png", ".png[interlace]", ".webp"}) {
        const std::string whole = saved(noise, suffix);
        ASSERT_TRUE(readRows(whole)) << suffix;
        const std::string half = whole.substr(0, whole.size() / 2);
        EXPECT_FALSE(readRows(half)) << suffix;
        EXPECT_FALSE(test::readRendition(half, 100)) << suffix;
    }
}

TEST(Formats, refuseAJpegThatBreaksOffHoweverItsFileIsFilledUp) {
    const VImage noise = VImage::gaussnoise(300, 300).cast(VIPS_FORMAT_UCHAR);
    for (const bool progressive : {false, true}) {
        SCOPED_TRACE(progressive);
        const std::string whole = saved(noise, ".jpg", options()->set("interlace", progressive));
        ASSERT_TRUE(readRows(whole));
        const std::string half = whole.substr(0, whole.size() / 2);
        for (const std::string& broken :
             {half, half + "\xff\xd9", half + std::string(whole.size() - half.size(), '\0'),
              half + std::string(whole.size(), '\xff')}) {
            EXPECT_FALSE(readRows(broken));
            EXPECT_FALSE(test::readRendition(broken, 300));
            EXPECT_FALSE(test::readRendition(broken, 30));
        }
    }
}

TEST(Formats, readAJpegThatSomethingFollows) {
    const std::string jpeg = saved(plain8(small, {200, 60, 40}), ".jpg");
    const std::string second = saved(plain8(small, {9}), ".jpg");
    for (const std::string& tail : {std::string(5000, '\0'), std::string("a film"), second,
                                    second.substr(0, second.size() / 2)})
        expectNear(outcome(jpeg + tail), {3, 8, {200, 60, 40}}, 4);
}

TEST(Formats, loadAPhotoWhoseExifIsBroken) {
    const std::string jpeg =
        test::withoutSegments(saved(plain8(small, {200, 60, 40}), ".jpg"), 0xe1);
    for (const std::string& exif : {std::string("II*\0\xff\xff\xff\xff", 8), std::string("garbage"),
                                    std::string(), std::string(400, '\xff')})
        expectNear(outcome(test::withExif(jpeg, exif)), {3, 8, {200, 60, 40}}, 4);
}

TEST(Rendition, isAsLongAsTheScreenWantsAndNoLongerThanThePhoto) {
    const std::string jpeg = saved(plain8({1000, 500}, {200, 60, 40}), ".jpg");
    EXPECT_EQ(test::readRendition(jpeg, 300)->size, (PixelSize{300, 150}));
    EXPECT_EQ(test::readRendition(jpeg, 125)->size, (PixelSize{125, 62}));
    EXPECT_EQ(test::readRendition(jpeg, 4000)->size, (PixelSize{1000, 500}));
    const std::string thin = saved(plain8({1000, 1}, {1, 2, 3}), ".png");
    EXPECT_EQ(test::readRendition(thin, 10)->size, (PixelSize{10, 1}));
}

TEST(Rendition, isInSrgb) {
    // Greener than sRGB can be.
    const auto rendition =
        test::readRendition(saved(tagged(plain8(small, {0, 255, 0}), adobeRgbBytes()), ".png"), 16);
    ASSERT_TRUE(rendition);
    EXPECT_EQ(rendition->words.front(), 0xff00ff00);
    const auto grey = test::readRendition(saved(plain8(small, {77}), ".png"), 16);
    EXPECT_EQ(grey->words.front(), 0xff4d4d4d);
    const auto deep = test::readRendition(saved(plain16({65535, 32896, 0}), ".png"), 16);
    EXPECT_EQ(deep->words.front(), 0xffff8000);
    const auto noInk = test::readRendition(saved(plainCmyk({0, 0, 0, 0}), ".tif"), 16);
    EXPECT_EQ(noInk->words.front(), 0xffffffff);
    const auto fullInk = test::readRendition(saved(plainCmyk({255, 255, 255, 255}), ".tif"), 16);
    EXPECT_LT(fullInk->words.front() & 0xff, 0x30u);
}

TEST(Rows, areConvertedIntoTheTarget) {
    const std::string red = saved(plain8(small, {255, 0, 0}), ".png");
    const auto rows = readRows(red, std::nullopt, Paper{adobeRgbBytes(), 1});
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->channels, 3);
    EXPECT_EQ(rows->bits, 8);
    // sRGB's red in Adobe RGB (1998).
    EXPECT_NEAR(rows->at(3, 3, 0), 219, 1);
    EXPECT_NEAR(rows->at(3, 3, 1), 0, 1);
    const auto deep =
        readRows(saved(plain16({65535, 0, 0}), ".png"), std::nullopt, Paper{adobeRgbBytes(), 1});
    EXPECT_EQ(deep->bits, 8);
    EXPECT_NEAR(deep->at(3, 3, 0), 219, 1);
    EXPECT_FALSE(readRows(red, std::nullopt, Paper{test::asBytes("no profile"), 1}));
}

} // namespace
} // namespace lumivert::decoder
