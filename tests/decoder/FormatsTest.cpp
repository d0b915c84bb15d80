#include "decoder/Jpeg.h"
#include "decoder/JxlPhotos.h"
#include "decoder/PhotoFacts.h"
#include "decoder/PlainPhotos.h"
#include "decoder/Profiles.h"
#include "files/BmpWriter.h"
#include "files/ExrWriter.h"
#include "files/SensorPhoto.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace lumivert::decoder {
namespace {

using namespace test;
using vips::VImage;

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
    const auto markers = readJpegMarkers(asBytes(jpeg));
    ASSERT_TRUE(markers);
    EXPECT_TRUE(markers->inverted);
    // Without Adobe's marker the same numbers are what they say.
    const std::string plain = withoutSegments(jpeg, 0xee);
    EXPECT_FALSE(readJpegMarkers(asBytes(plain))->inverted);
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

TEST(Formats, leaveSpotColoursAndAlphaOutOfInks) {
    EXPECT_EQ(outcome(saved(plainCmyk({255, 128, 20, 0, 99}), ".tif")).channels, 4);
    EXPECT_EQ(outcome(saved(plainCmyk({255, 128, 20, 0, 255, 77}), ".tif")).channels, 4);
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

TEST(Formats, readAJpegThatJpegXlRecompressed) {
    const std::string jpeg = saved(plain8(small, {200, 60, 40}), ".jpg", options()->set("Q", 100));
    const std::string file = recompressed(jpeg);
    ASSERT_NE(file.find("jbrd"), std::string::npos);
    expectNear(outcome(file), {3, 8, {200, 60, 40}}, 3);
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
    case PhotoKind::jxl:
        return saved(image, ".jxl");
    case PhotoKind::jp2:
        return saved(image, ".jp2");
    case PhotoKind::bmp:
        return lumivert::test::BmpWriter{.width = 16, .height = 16}.bytes(
            std::string(16 * 16 * 3, '\x40'));
    case PhotoKind::exr:
        return lumivert::test::ExrWriter{.display = {0, 0, 15, 15}}.bytes(
            [](int, int, int) { return 0.5F; });
    }
    return std::nullopt;
}

TEST(Formats, areKnownByTheirFirstBytesAndOpened) {
    for (const PhotoFormat& format : photoFormats()) {
        SCOPED_TRACE(format.name);
        const auto file = sampleOf(format.kind);
        if (!file)
            continue;
        const PhotoFormat* found = formatOf(asBytes(*file));
        // A camera's file may begin as a TIFF does.
        EXPECT_TRUE(found == &format || format.kind == PhotoKind::cameraRaw);
        EXPECT_EQ(outcome(*file).channels, 3);
        EXPECT_TRUE(readRendition(*file, 16));
    }
}

TEST(Formats, takeTheFirstPageOfSeveral) {
    const VImage pages = image8({16, 32}, 1, [](int, int y, int) { return y < 16 ? 40 : 90; });
    const std::string tiff = saved(pages.copy(), ".tif", options()->set("page_height", 16));
    const auto rows = readRows(tiff);
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->size, (PixelSize{16, 16}));
    EXPECT_EQ(rows->at(3, 3, 0), 40);
}

} // namespace
} // namespace lumivert::decoder
