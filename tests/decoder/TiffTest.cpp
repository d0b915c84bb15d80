#include "decoder/TestPhotos.h"
#include "decoder/TestProfiles.h"
#include "files/TiffWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace lumivert::decoder {
namespace {

using lumivert::test::TiffEntry;
using lumivert::test::TiffWriter;
using test::asBytes;
using test::readRows;

enum FieldType { shortField = 3, longField = 4 };

/// A TIFF in strips of one row or more, its directory before them.
struct Tiff {
    int width = 0;
    int height = 0;
    int samples = 1;
    int photometric = 1;
    std::string pixels;
    std::vector<TiffEntry> more; // by tags above 279
    int orientation = 1;
    int bits = 8;
    int rowsPerStrip = 1;
    bool isLittleEndian = true;
    bool isBackwards = false; // the last strip first
    std::size_t gap = 0;      // bytes behind each strip
    int excess = 0;           // what the stated size of a strip is too large

    [[nodiscard]] std::string bytes() const {
        const TiffWriter writer(isLittleEndian);
        const auto count = static_cast<std::uint32_t>(height / rowsPerStrip);
        const std::size_t stride = pixels.size() / count;
        const auto number = [&](int value) {
            return writer.number(static_cast<std::uint64_t>(value), 4);
        };
        std::string sizes;
        for (int i = 0; i < samples; ++i)
            sizes += writer.number(static_cast<std::uint64_t>(bits), 2);
        const auto place = [&](std::size_t strip) {
            return (isBackwards ? count - 1 - strip : strip) * (stride + gap);
        };
        const auto offsets = [&](std::size_t at) {
            std::string text;
            for (std::size_t strip = 0; strip < count; ++strip)
                text += writer.number(at + place(strip), 4);
            return text;
        };
        std::string lengths;
        std::string strips((stride + gap) * count, 'g');
        for (std::size_t strip = 0; strip < count; ++strip) {
            lengths += number(static_cast<int>(stride) + excess);
            strips.replace(place(strip), stride, pixels, strip * stride, stride);
        }
        std::vector<TiffEntry> entries{
            {256, longField, 1, number(width)},
            {257, longField, 1, number(height)},
            {258, shortField, static_cast<std::uint32_t>(samples), sizes},
            {259, shortField, 1, writer.number(1, 2)}, // not compressed
            {262, shortField, 1, writer.number(static_cast<std::uint64_t>(photometric), 2)},
            {273, longField, count, offsets(0)},
            {274, shortField, 1, writer.number(static_cast<std::uint64_t>(orientation), 2)},
            {277, shortField, 1, writer.number(static_cast<std::uint64_t>(samples), 2)},
            {278, longField, 1, number(rowsPerStrip)},
            {279, longField, count, lengths},
        };
        entries.insert(entries.end(), more.begin(), more.end());
        entries[5].value = offsets(8 + writer.directory(entries, 8).size());
        return writer.header() + writer.directory(entries, 8) + strips;
    }
};

TEST(Tiff, ofAPaletteIsReadAsItsColours) {
    const TiffWriter writer(true);
    std::string map;
    for (const int channel : {200, 60, 40}) // all reds, all greens, all blues
        for (int i = 0; i < 256; ++i)
            map += writer.number(static_cast<std::uint64_t>(i == 7 ? channel * 257 : i), 2);
    const Tiff tiff{.width = 4,
                    .height = 3,
                    .photometric = 3,
                    .pixels = std::string(12, '\7'),
                    .more = {{320, shortField, 3 * 256, map}}};
    const auto rows = readRows(tiff.bytes());
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->channels, 3);
    EXPECT_EQ(rows->at(2, 1, 0) >> (rows->bits - 8), 200);
    EXPECT_EQ(rows->at(2, 1, 1) >> (rows->bits - 8), 60);
    EXPECT_EQ(rows->at(2, 1, 2) >> (rows->bits - 8), 40);
}

TEST(Tiff, ofPremultipliedAlphaLiesOnWhiteAsItIs) {
    const TiffWriter writer(true);
    std::string pixels;
    for (int i = 0; i < 12; ++i)
        pixels += std::string("\x80\0\0\x80", 4); // half of pure red
    const Tiff tiff{.width = 4,
                    .height = 3,
                    .samples = 4,
                    .photometric = 2,
                    .pixels = pixels,
                    .more = {{338, shortField, 1, writer.number(1, 2)}}};
    const auto rows = readRows(tiff.bytes());
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->channels, 3);
    EXPECT_NEAR(rows->at(2, 1, 0), 255, 1);
    EXPECT_NEAR(rows->at(2, 1, 1), 127, 1);
    EXPECT_NEAR(rows->at(2, 1, 2), 127, 1);
}

// What 8-bit numbers of three channels come out as in sRGB.
std::array<int, 3> inSrgb(int photometric, const std::string& pixel) {
    const Tiff tiff{.width = 1,
                    .height = 1,
                    .samples = 3,
                    .photometric = photometric,
                    .pixels = pixel,
                    .more = {}};
    const Profile srgb = srgbProfile();
    const Bytes target = test::profileBytes(srgb);
    const auto rows = readRows(tiff.bytes(), std::nullopt, Paper{target, 1});
    return rows ? std::array{rows->at(0, 0, 0), rows->at(0, 0, 1), rows->at(0, 0, 2)}
                : std::array{-1, -1, -1};
}

TEST(Tiff, ofCielabIsReadInBothItsEncodings) {
    const std::array white{255, 255, 255};
    const std::array black{0, 0, 0};
    EXPECT_EQ(inSrgb(8, std::string("\xff\0\0", 3)), white);
    EXPECT_EQ(inSrgb(8, std::string("\0\0\0", 3)), black);
    EXPECT_EQ(inSrgb(9, "\xff\x80\x80"), white);
    EXPECT_EQ(inSrgb(9, std::string("\0\x80\x80", 3)), black);
    // L* 136 x 100 / 255, a* 30, b* -20, by both.
    const auto color = inSrgb(8, std::string("\x88\x1e\xec", 3));
    EXPECT_EQ(color, inSrgb(9, "\x88\x9e\x6c"));
    const Profile lab(cmsCreateLab4Profile(nullptr));
    const Profile srgb = srgbProfile();
    const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
        cmsCreateTransform(lab.get(), TYPE_Lab_DBL, srgb.get(), TYPE_RGB_DBL, 1,
                           cmsFLAGS_NOOPTIMIZE),
        &cmsDeleteTransform);
    const cmsCIELab value{136 * 100 / 255.0, 30, -20};
    std::array<double, 3> expected{};
    cmsDoTransform(way.get(), &value, expected.data(), 1);
    for (std::size_t c = 0; c < 3; ++c)
        EXPECT_NEAR(color[c], 255 * expected[c], 0.6) << c;
}

// As cameras write it: luma for every pixel, chroma for every one or for every 2 x 2.
TEST(Tiff, ofYcbcrWithoutJpegIsReadAsItsColours) {
    const TiffWriter writer(true);
    for (const int sampling : {1, 2}) {
        std::string pixels;
        for (int i = 0; i < 16 / (sampling * sampling); ++i)
            pixels += std::string(static_cast<std::size_t>(sampling * sampling), '\x64') +
                      "\x5e\xc8"; // 200, 60, 40 by ITU-R BT.601
        const std::uint64_t each = static_cast<std::uint64_t>(sampling);
        const Tiff tiff{
            .width = 4,
            .height = 4,
            .samples = 3,
            .photometric = 6,
            .pixels = pixels,
            .more = {{530, shortField, 2, writer.number(each, 2) + writer.number(each, 2)}},
            .rowsPerStrip = 4};
        const auto rows = readRows(tiff.bytes());
        ASSERT_TRUE(rows) << sampling;
        ASSERT_EQ(rows->channels, 3) << sampling;
        EXPECT_NEAR(rows->at(2, 1, 0), 200, 2) << sampling;
        EXPECT_NEAR(rows->at(2, 1, 1), 60, 2) << sampling;
        EXPECT_NEAR(rows->at(2, 1, 2), 40, 2) << sampling;
        EXPECT_FALSE(readRows(tiff.bytes().substr(0, tiff.bytes().size() - 5))) << sampling;
    }
}

TEST(Tiff, ofYcbcrStandsUprightInItsProfile) {
    const TiffWriter writer(true);
    const Bytes profile = adobeRgbBytes();
    const Tiff tiff{
        .width = 2,
        .height = 2,
        .samples = 3,
        .photometric = 6,
        .pixels = "\x20\x80\x80\x40\x80\x80\x80\x80\x80\xf0\x80\x80",
        .more = {{530, shortField, 2, writer.number(1, 2) + writer.number(1, 2)},
                 {34675, 7, static_cast<std::uint32_t>(profile.size()),
                  std::string(reinterpret_cast<const char*>(profile.data()), profile.size())}},
        .orientation = 6,
        .rowsPerStrip = 2};
    const auto rows = readRows(tiff.bytes());
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->profile, profile);
    const std::array corners{rows->at(0, 0, 1), rows->at(1, 0, 1), rows->at(0, 1, 1),
                             rows->at(1, 1, 1)};
    EXPECT_EQ(corners, (std::array{0x80, 0x20, 0xf0, 0x40}));
}

TEST(Tiff, isTheSameWhereverItsStripsLie) {
    Tiff tiff{.width = 12,
              .height = 8,
              .samples = 3,
              .photometric = 2,
              .pixels = {},
              .more = {},
              .rowsPerStrip = 2};
    for (int i = 0; i < 12 * 8 * 3; ++i)
        tiff.pixels += static_cast<char>(i * 37 % 251);
    for (const bool isBackwards : {false, true})
        for (const std::size_t gap : {0u, 1u, 4u})
            for (const int excess : {0, 1}) {
                tiff.isBackwards = isBackwards;
                tiff.gap = gap;
                tiff.excess = excess;
                const auto rows = readRows(tiff.bytes() + "behind");
                ASSERT_TRUE(rows) << isBackwards << gap << excess;
                EXPECT_TRUE(std::ranges::equal(rows->samples, asBytes(tiff.pixels)))
                    << isBackwards << gap << excess;
            }
    tiff.excess = -1;
    EXPECT_FALSE(readRows(tiff.bytes()));
}

/// Words of both byte orders, upright and turned.
TEST(Tiff, ofWordsIsTheSameInBothByteOrders) {
    for (const int orientation : {1, 2, 3, 6, 8}) {
        std::string little;
        std::string big;
        for (int i = 0; i < 6 * 4 * 3; ++i) {
            const int value = i * 911 % 65536;
            little += {static_cast<char>(value), static_cast<char>(value >> 8)};
            big += {static_cast<char>(value >> 8), static_cast<char>(value)};
        }
        Tiff tiff{.width = 6,
                  .height = 4,
                  .samples = 3,
                  .photometric = 2,
                  .pixels = little,
                  .more = {},
                  .orientation = orientation,
                  .bits = 16};
        const auto rows = readRows(tiff.bytes());
        tiff.isLittleEndian = false;
        tiff.pixels = big;
        ASSERT_TRUE(rows) << orientation;
        const auto other = readRows(tiff.bytes());
        ASSERT_TRUE(other) << orientation;
        EXPECT_EQ(other->samples, rows->samples) << orientation;
        if (orientation == 1) {
            EXPECT_TRUE(std::ranges::equal(rows->samples, asBytes(big)));
        }
    }
}

TEST(Tiff, thatBreaksOffInItsStripsDoesNotLoad) {
    for (const int orientation : {1, 3, 6}) {
        const Tiff tiff{.width = 200,
                        .height = 10,
                        .pixels = std::string(2000, '\x55'),
                        .more = {},
                        .orientation = orientation};
        const std::string whole = tiff.bytes();
        ASSERT_TRUE(readRows(whole));
        // Several times: it depends on which thread comes first.
        for (int i = 0; i < 5; ++i)
            for (const std::size_t missing : {1u, 100u, 1000u, 1999u}) {
                const std::string cut = whole.substr(0, whole.size() - missing);
                ASSERT_FALSE(readRows(cut)) << missing << " of orientation " << orientation;
                ASSERT_FALSE(test::readRendition(cut, 100)) << missing;
            }
    }
}

} // namespace
} // namespace lumivert::decoder
