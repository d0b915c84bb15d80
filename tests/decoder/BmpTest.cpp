#include "decoder/PlainPhotos.h"
#include "decoder/Profiles.h"
#include "files/BmpWriter.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace lumivert::decoder {
namespace {

using lumivert::test::BmpWriter;
using test::readRendition;
using test::readRows;

// Every pixel of the file as 0xRRGGBB; nothing where it does not load.
std::optional<std::vector<std::uint32_t>> colorsOf(const std::string& file) {
    const auto rows = readRows(file);
    if (!rows || rows->channels != 3 || rows->bits != 8)
        return std::nullopt;
    std::vector<std::uint32_t> colors;
    for (int y = 0; y < rows->size.height; ++y)
        for (int x = 0; x < rows->size.width; ++x)
            colors.push_back(static_cast<std::uint32_t>(
                rows->at(x, y, 0) << 16 | rows->at(x, y, 1) << 8 | rows->at(x, y, 2)));
    return colors;
}

// Random pixels, read as `color` says of each.
void expectRead(const BmpWriter& writer,
                const std::function<std::uint32_t(std::uint32_t pixel)>& color) {
    std::mt19937 random(3);
    std::vector<std::uint32_t> pixels;
    std::vector<std::uint32_t> colors;
    for (int i = 0; i < writer.width * std::abs(writer.height); ++i) {
        const auto pixel = static_cast<std::uint32_t>(random());
        pixels.push_back(writer.bits == 32 ? pixel : pixel & ((1U << writer.bits) - 1));
        colors.push_back(color(pixels.back()));
    }
    const std::string file = writer.bytes(writer.rows(
        [&](int x, int y) { return pixels[static_cast<std::size_t>(y * writer.width + x)]; }));
    EXPECT_EQ(colorsOf(file), colors);
    EXPECT_TRUE(readRendition(file, 16));
    for (const std::size_t missing : {std::size_t{1}, file.size() / 2, file.size() - 2}) {
        EXPECT_FALSE(readRows(file.substr(0, file.size() - missing))) << missing;
        EXPECT_FALSE(readRendition(file.substr(0, file.size() - missing), 16)) << missing;
    }
}

std::uint32_t scaled(std::uint32_t value, std::uint32_t most) {
    return (value * 255 * 2 + most) / (2 * most);
}

TEST(Bmp, ofPalettesIsReadAsItsColours) {
    for (const int bits : {1, 4, 8})
        for (const int height : {7, -7}) {
            SCOPED_TRACE(bits);
            BmpWriter writer{.width = 13, .height = height, .bits = bits};
            for (std::uint32_t i = 0; i < 1U << bits; ++i)
                writer.palette.push_back(i * 7919 % 0xffffff);
            expectRead(writer, [&](std::uint32_t pixel) { return writer.palette[pixel]; });
        }
}

TEST(Bmp, ofFewerColoursThanItsPixelsSayIsBlackThere) {
    const BmpWriter writer{.width = 2, .height = 1, .bits = 8, .palette = {0x123456, 0xabcdef}};
    EXPECT_EQ(colorsOf(writer.bytes(std::string("\1\2\0\0", 4))),
              (std::vector<std::uint32_t>{0xabcdef, 0}));
}

TEST(Bmp, ofWholeColoursIsReadFromTheBottomOrTheTop) {
    for (const int height : {5, -5})
        for (const int infoSize : {40, 52, 56, 108, 124}) {
            SCOPED_TRACE(infoSize);
            const BmpWriter writer{.width = 9, .height = height, .infoSize = infoSize};
            expectRead(writer, [](std::uint32_t pixel) { return pixel; });
        }
    expectRead({.width = 9, .height = 5, .bits = 32},
               [](std::uint32_t pixel) { return pixel & 0xffffff; });
    expectRead({.width = 9, .height = 5, .bits = 16}, [](std::uint32_t pixel) {
        return scaled(pixel >> 10 & 31, 31) << 16 | scaled(pixel >> 5 & 31, 31) << 8 |
               scaled(pixel & 31, 31);
    });
}

TEST(Bmp, ofMasksIsReadByThem) {
    for (const int infoSize : {40, 108}) {
        expectRead({.width = 9,
                    .height = 5,
                    .bits = 16,
                    .coding = 3,
                    .infoSize = infoSize,
                    .masks = {0xf800, 0x7e0, 0x1f}},
                   [](std::uint32_t pixel) {
                       return scaled(pixel >> 11, 31) << 16 | scaled(pixel >> 5 & 63, 63) << 8 |
                              scaled(pixel & 31, 31);
                   });
        expectRead({.width = 9,
                    .height = 5,
                    .bits = 32,
                    .coding = 3,
                    .infoSize = infoSize,
                    .masks = {0x3ff, 0xffc00, 0x3ff00000}},
                   [](std::uint32_t pixel) {
                       return scaled(pixel & 1023, 1023) << 16 |
                              scaled(pixel >> 10 & 1023, 1023) << 8 |
                              scaled(pixel >> 20 & 1023, 1023);
                   });
    }
}

TEST(Bmp, isBlackInAChannelWithoutAMask) {
    expectRead({.width = 9, .height = 5, .bits = 32, .coding = 3, .masks = {0xff00, 0, 0xff}},
               [](std::uint32_t pixel) { return (pixel & 0xff00) << 8 | (pixel & 0xff); });
}

TEST(Bmp, liesOnWhiteWhereItHasAlpha) {
    const BmpWriter writer{.width = 2,
                           .height = 1,
                           .bits = 32,
                           .coding = 3,
                           .infoSize = 108,
                           .masks = {0xff0000, 0xff00, 0xff, 0xff000000}};
    const std::array<std::uint32_t, 2> pixels{0xff123456, 0x00123456};
    EXPECT_EQ(colorsOf(writer.bytes(
                  writer.rows([&](int x, int) { return pixels[static_cast<std::size_t>(x)]; }))),
              (std::vector<std::uint32_t>{0x123456, 0xffffff}));
}

// Runs, numbers as they are (odd ones too), steps and rows left early.
TEST(Bmp, ofRunsIsUnpacked) {
    BmpWriter eight{.width = 6, .height = 3, .bits = 8, .coding = 1};
    for (std::uint32_t i = 0; i < 256; ++i)
        eight.palette.push_back(i);
    const std::string runs("\3\7\0\3\1\2\3\0\0\0"   // 7 7 7 1 2 3
                           "\2\5\0\2\1\1\1\x9\0\1", // 5 5, one on and one up: 9
                           20);
    const std::vector<std::uint32_t> expected{0, 0, 0, 9, 0, 0, 5, 5, 0, 0, 0, 0, 7, 7, 7, 1, 2, 3};
    EXPECT_EQ(colorsOf(eight.bytes(runs)), expected);
    for (std::size_t size = 0; size < runs.size(); ++size)
        EXPECT_FALSE(readRows(eight.bytes(runs.substr(0, size)))) << size;

    BmpWriter four{.width = 6, .height = 2, .bits = 4, .coding = 2};
    for (std::uint32_t i = 0; i < 16; ++i)
        four.palette.push_back(i * 0x101010);
    const std::string halves("\5\x7a\0\0"              // 7 a 7 a 7
                             "\0\5\x12\x34\x50\0\0\1", // 1 2 3 4 5
                             12);
    const std::vector<std::uint32_t> colors{0x101010, 0x202020, 0x303030, 0x404040, 0x505050, 0,
                                            0x707070, 0xa0a0a0, 0x707070, 0xa0a0a0, 0x707070, 0};
    EXPECT_EQ(colorsOf(four.bytes(halves)), colors);
    for (std::size_t size = 0; size < halves.size(); ++size)
        EXPECT_FALSE(readRows(four.bytes(halves.substr(0, size)))) << size;
}

TEST(Bmp, ofRunsThatLeaveItIsRefused) {
    const BmpWriter writer{.width = 2, .height = 1, .bits = 8, .coding = 1, .palette = {0, 1, 2}};
    EXPECT_TRUE(readRows(writer.bytes(std::string("\2\2\0\0\0\1", 6))));
    EXPECT_FALSE(readRows(writer.bytes(std::string("\3\2\0\0\0\1", 6))));
    EXPECT_FALSE(readRows(writer.bytes(std::string("\2\2\0\0\1\2\0\1", 8))));
    EXPECT_FALSE(readRows(writer.bytes(std::string("\0\2\xff\xff\1\2\0\1", 8))));
}

TEST(Bmp, statesItsDensityAndItsProfile) {
    const Bytes& profile = adobeRgbBytes();
    BmpWriter writer{.width = 1,
                     .height = 1,
                     .infoSize = 124,
                     .across = 11811,
                     .down = 5906,
                     .profile = {reinterpret_cast<const char*>(profile.data()), profile.size()}};
    const std::string file = writer.bytes(std::string(4, '\x40'));
    const auto photo = openPhoto(test::asBytes(file), {});
    ASSERT_TRUE(photo);
    EXPECT_NEAR(photo->density.x, 300, 0.01);
    EXPECT_NEAR(photo->density.y, 150, 0.02);
    EXPECT_EQ(photo->profile, profile);
    const std::string silent = BmpWriter{.width = 1, .height = 1}.bytes(std::string(4, '\x40'));
    EXPECT_EQ(openPhoto(test::asBytes(silent), {})->density.x, 72);
}

TEST(Bmp, isRefusedWhereItIsNone) {
    const std::string pixels(400, '\x40');
    ASSERT_TRUE(readRows(BmpWriter{.width = 9, .height = 9}.bytes(pixels)));
    for (const BmpWriter& writer :
         {BmpWriter{.width = 0, .height = 9}, BmpWriter{.width = -9, .height = 9},
          BmpWriter{.width = 9, .height = 0}, BmpWriter{.width = 9, .height = INT32_MIN},
          BmpWriter{.width = INT32_MAX, .height = 9}, BmpWriter{.width = 9, .height = INT32_MAX},
          BmpWriter{.width = 9, .height = 9, .bits = 0},
          BmpWriter{.width = 9, .height = 9, .bits = 12},
          BmpWriter{.width = 1, .height = 1, .bits = 64},
          BmpWriter{.width = 9, .height = 9, .coding = 3},    // masks of 24 bits
          BmpWriter{.width = 9, .height = 9, .coding = 4},    // a JPEG
          BmpWriter{.width = 9, .height = 9, .coding = 1},    // runs of 24 bits
          BmpWriter{.width = 9, .height = 9, .infoSize = 16}, // of another system
          BmpWriter{.width = 9, .height = 9, .infoSize = 125}})
        EXPECT_FALSE(readRows(writer.bytes(pixels)));
    // Vast, of a few bytes.
    for (const int coding : {0, 1})
        EXPECT_FALSE(readRows(
            BmpWriter{.width = 999'999, .height = 999'999, .bits = 8, .coding = coding}.bytes(
                std::string("\0\1", 2))));
}

} // namespace
} // namespace lumivert::decoder
