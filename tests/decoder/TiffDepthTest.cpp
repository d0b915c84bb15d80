#include "decoder/PlainPhotos.h"
#include "decoder/Profiles.h"
#include "files/DeepTiff.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <tiffio.h>

// TIFF of other depths than 8, 16 and 32 bits, which libtiff reads here and libvips does not.
namespace lumivert::decoder {
namespace {

using lumivert::test::DeepTiff;
using test::readRendition;
using test::readRows;

DeepTiff noise(int bits, int samples) {
    DeepTiff tiff{.width = 37, .height = 29, .samples = samples, .bits = bits};
    tiff.photometric = samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    std::mt19937 random(11);
    for (int i = 0; i < tiff.width * tiff.height * samples; ++i)
        tiff.values.push_back(random() & ((1U << bits) - 1));
    return tiff;
}

// The value of half floats (IEEE 754, binary16) from 0 to 2.
double halfValue(std::uint32_t bits) {
    const int exponent = static_cast<int>(bits >> 10 & 31);
    const double fraction = static_cast<double>(bits & 1023) / 1024;
    return exponent == 0 ? std::ldexp(fraction, -14) : std::ldexp(1 + fraction, exponent - 15);
}

DeepTiff halfNoise(int samples) {
    DeepTiff tiff = noise(16, samples);
    tiff.isFloat = true;
    for (std::uint32_t& value : tiff.values)
        value &= 0x3fff; // 0 to 2
    return tiff;
}

// What paper gets of a file's number, of 65535.
int expected(const DeepTiff& tiff, std::uint32_t value, int channel) {
    if (!tiff.isFloat) {
        const double most = std::pow(2, tiff.bits) - 1;
        const bool isInverse = tiff.photometric == PHOTOMETRIC_MINISWHITE && channel == 0;
        return static_cast<int>(std::lround((isInverse ? most - value : value) / most * 65535));
    }
    const double light = std::min(halfValue(value), 1.0);
    if (!tiff.profile.empty())
        return static_cast<int>(std::lround(light * 65535));
    return static_cast<int>(std::lround(
        65535 * (light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055)));
}

void expectRead(const DeepTiff& tiff, int tolerance = 0) {
    const std::string file = tiff.bytes();
    ASSERT_FALSE(file.empty());
    const auto rows = readRows(file);
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size, (PixelSize{tiff.width, tiff.height}));
    ASSERT_EQ(rows->channels, tiff.samples);
    ASSERT_EQ(rows->bits, 16);
    int wrong = 0;
    for (int y = 0; y < tiff.height; ++y)
        for (int x = 0; x < tiff.width; ++x)
            for (int c = 0; c < tiff.samples; ++c) {
                const auto at = static_cast<std::size_t>((y * tiff.width + x) * tiff.samples + c);
                wrong +=
                    std::abs(rows->at(x, y, c) - expected(tiff, tiff.values[at], c)) > tolerance;
            }
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(readRendition(file, 64));
}

struct Layout {
    bool isTiled;
    bool isPlanar;
    bool isLittleEndian;
};
constexpr std::array layouts{Layout{false, false, true}, Layout{false, true, false},
                             Layout{true, false, false}, Layout{true, true, true}};

void expectReadInEveryLayout(DeepTiff tiff, int predictor, int tolerance = 0) {
    for (const Layout& layout : layouts)
        for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE,
                                      COMPRESSION_PACKBITS, COMPRESSION_ZSTD, COMPRESSION_LZMA})
            for (const bool isPredicted : {false, true}) {
                const bool canPredict =
                    compression != COMPRESSION_NONE && compression != COMPRESSION_PACKBITS;
                if (isPredicted && (predictor == 1 || !canPredict))
                    continue;
                SCOPED_TRACE(compression);
                SCOPED_TRACE(layout.isTiled ? "tiles" : "strips");
                SCOPED_TRACE(layout.isPlanar ? "planar" : "contiguous");
                tiff.isTiled = layout.isTiled;
                tiff.isPlanar = layout.isPlanar;
                // Libtiff 4.5 writes predicted floats in the other order than it says.
                tiff.isLittleEndian = layout.isLittleEndian || isPredicted;
                tiff.compression = compression;
                tiff.predictor = isPredicted ? predictor : 1;
                expectRead(tiff, tolerance);
            }
}

TEST(TiffDepth, ofTenTwelveAndTwentyFourBitsIsReadInFull) {
    expectReadInEveryLayout(noise(12, 3), PREDICTOR_NONE);
    for (const int bits : {10, 12, 24})
        for (const int samples : {1, 3})
            for (const Layout& layout : layouts) {
                SCOPED_TRACE(bits);
                DeepTiff tiff = noise(bits, samples);
                tiff.isTiled = layout.isTiled;
                tiff.isLittleEndian = layout.isLittleEndian;
                expectRead(tiff);
            }
}

TEST(TiffDepth, ofHalfFloatsIsReadAsOtherFloatsAre) {
    expectReadInEveryLayout(halfNoise(3), PREDICTOR_FLOATINGPOINT, 1); // single precision between
    expectRead(halfNoise(1), 1);
    DeepTiff tagged = halfNoise(3);
    const Bytes& profile = adobeRgbBytes();
    tagged.profile = {reinterpret_cast<const char*>(profile.data()), profile.size()};
    expectRead(tagged);
    EXPECT_EQ(readRows(tagged.bytes())->profile, profile);
}

TEST(TiffDepth, ofHalfFloatsBelowBlackAndWithoutANumberIsBlack) {
    DeepTiff tiff{.width = 4, .height = 1, .samples = 1, .bits = 16, .isFloat = true};
    tiff.values = {0xbc00, 0x7e00, 0xfc00, 0x7c00}; // -1, NaN, -infinity, infinity
    tiff.photometric = PHOTOMETRIC_MINISBLACK;
    const auto rows = readRows(tiff.bytes());
    ASSERT_TRUE(rows);
    EXPECT_EQ(
        (std::array{rows->at(0, 0, 0), rows->at(1, 0, 0), rows->at(2, 0, 0), rows->at(3, 0, 0)}),
        (std::array{0, 0, 0, 65535}));
}

TEST(TiffDepth, ofFewBitsAndOddOnesIsReadToo) {
    for (const int bits : {2, 4, 5, 9, 11, 14, 15, 20}) {
        SCOPED_TRACE(bits);
        expectRead(noise(bits, 3));
    }
}

TEST(TiffDepth, meansWhiteByZeroWhereItSaysSo) {
    DeepTiff tiff = noise(12, 1);
    tiff.photometric = PHOTOMETRIC_MINISWHITE;
    expectRead(tiff);
}

TEST(TiffDepth, keepsInksOrientationAndProfile) {
    DeepTiff inks = noise(12, 4);
    inks.photometric = PHOTOMETRIC_SEPARATED;
    expectRead(inks);

    DeepTiff turned{.width = 2, .height = 1, .samples = 1, .bits = 10, .values = {0, 1023}};
    turned.photometric = PHOTOMETRIC_MINISBLACK;
    turned.orientation = 6;
    const Bytes& profile = plainGreyBytes();
    turned.profile = {reinterpret_cast<const char*>(profile.data()), profile.size()};
    const auto rows = readRows(turned.bytes());
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->size, (PixelSize{1, 2}));
    EXPECT_EQ(rows->at(0, 1, 0), 65535);
    EXPECT_EQ(rows->profile, profile);
}

TEST(TiffDepth, liesOnWhiteWhereItHasAlpha) {
    DeepTiff tiff{.width = 1, .height = 1, .samples = 4, .bits = 12};
    tiff.values = {2000, 0, 0, 2000};
    for (const auto& [kind, red] :
         {std::pair{EXTRASAMPLE_ASSOCALPHA, 65535.0},
          std::pair{EXTRASAMPLE_UNASSALPHA, 65535 * (1 + 2000 / 4095.0 * (2000 / 4095.0 - 1))}}) {
        tiff.extraSamples = {static_cast<std::uint16_t>(kind)};
        const auto rows = readRows(tiff.bytes());
        ASSERT_TRUE(rows);
        ASSERT_EQ(rows->channels, 3);
        EXPECT_NEAR(rows->at(0, 0, 0), red, 1) << kind;
        EXPECT_NEAR(rows->at(0, 0, 1), 65535 * (1 - 2000 / 4095.0), 1) << kind;
    }
    // A spot colour behind alpha is no photo's.
    tiff = {.width = 1, .height = 1, .samples = 5, .bits = 12, .values = {9, 9, 9, 0, 77}};
    tiff.extraSamples = {EXTRASAMPLE_UNASSALPHA, EXTRASAMPLE_UNSPECIFIED};
    for (tiff.isPlanar = false;; tiff.isPlanar = true) {
        const auto rows = readRows(tiff.bytes());
        ASSERT_TRUE(rows);
        EXPECT_EQ(rows->at(0, 0, 1), 65535);
        if (tiff.isPlanar)
            break;
    }
}

TEST(TiffDepth, hasNoAlphaInSamplesThatSayNothing) {
    for (const int bits : {8, 12, 16}) {
        SCOPED_TRACE(bits);
        DeepTiff tiff{.width = 1, .height = 1, .samples = 5, .bits = bits};
        const std::uint32_t most = (1U << bits) - 1;
        tiff.values = {most, most / 3, 0, 0, 0};
        tiff.extraSamples = {EXTRASAMPLE_UNSPECIFIED, EXTRASAMPLE_UNSPECIFIED};
        auto rows = readRows(tiff.bytes());
        ASSERT_TRUE(rows);
        const int white = (1 << rows->bits) - 1;
        EXPECT_EQ((std::array{rows->at(0, 0, 0), rows->at(0, 0, 1), rows->at(0, 0, 2)}),
                  (std::array{white, white / 3, 0}));
        tiff.photometric = PHOTOMETRIC_SEPARATED;
        tiff.extraSamples = {EXTRASAMPLE_UNSPECIFIED};
        rows = readRows(tiff.bytes());
        ASSERT_TRUE(rows);
        ASSERT_EQ(rows->channels, 4);
        EXPECT_EQ(rows->at(0, 0, 0), white);
    }
}

TEST(TiffDepth, inTilesOfSeparatePlanesIsRead) {
    for (const int bits : {8, 16})
        for (const int samples : {3, 4}) {
            SCOPED_TRACE(bits);
            DeepTiff tiff = noise(bits, samples);
            tiff.photometric = samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_SEPARATED;
            tiff.isPlanar = tiff.isTiled = true;
            expectRead(tiff);
        }
}

TEST(TiffDepth, thatBreaksOffDoesNotLoad) {
    for (DeepTiff tiff : {noise(12, 3), noise(24, 1), halfNoise(3)})
        for (const int compression :
             {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
            tiff.compression = compression;
            std::string file = tiff.bytes();
            ASSERT_TRUE(readRows(file));
            // Its directory stands behind the pixels, so that a cut one is none: their end gone,
            // the directory in its place.
            EXPECT_FALSE(readRows(file.substr(0, file.size() - 1)));
            EXPECT_FALSE(readRows(file.substr(0, file.size() / 2)));
            if (compression != COMPRESSION_NONE) {
                std::fill_n(file.begin() + 400, 300, '\0');
                EXPECT_FALSE(readRows(file)) << compression;
            }
        }
}

TEST(TiffDepth, ofSignedSamplesOrNoPhotosChannelsIsRefused) {
    const DeepTiff two = [] {
        DeepTiff tiff = noise(12, 2);
        tiff.photometric = PHOTOMETRIC_RGB;
        return tiff;
    }();
    EXPECT_FALSE(readRows(two.bytes()));
    DeepTiff lab = noise(12, 3);
    ASSERT_TRUE(readRows(lab.bytes()));
    lab.photometric = PHOTOMETRIC_CIELAB;
    EXPECT_FALSE(readRows(lab.bytes()));
}

} // namespace
} // namespace lumivert::decoder
