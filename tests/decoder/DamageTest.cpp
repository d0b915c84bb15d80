#include "decoder/Damage.h"

#include "decoder/TestPhotos.h"
#include "files/SensorPhoto.h"
#include "files/TiffWriter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <jpeglib.h>
#include <map>
#include <zlib.h>

namespace lumivert::decoder {
namespace {

using namespace test;
using vips::VImage;
using vips::VOption;

VOption* set(const char* name, int value) {
    return VImage::option()->set(name, value);
}

// Full of detail down to the last row, so that nothing of it can be lost unseen.
VImage detailed() {
    return image8({200, 150}, 3, [](int x, int y, int band) {
        return static_cast<int>(128 + 60 * std::sin(x * 0.1 + band) + 50 * std::cos(y * 0.13)) +
               (x * 7919 + y * 104729 + band * 31) % 17;
    });
}

struct JpegKind {
    bool isArithmetic = false;
    bool isProgressive = false;
    // Each colour in a scan of its own.
    bool isPlanar = false;
};

std::string jpeg(const VImage& image, JpegKind kind) {
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* file = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &file, &size);
    info.image_width = static_cast<JDIMENSION>(image.width());
    info.image_height = static_cast<JDIMENSION>(image.height());
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    info.arith_code = kind.isArithmetic ? TRUE : FALSE;
    if (kind.isProgressive)
        jpeg_simple_progression(&info);
    constexpr jpeg_scan_info planes[]{
        {1, {0}, 0, 63, 0, 0}, {1, {1}, 0, 63, 0, 0}, {1, {2}, 0, 63, 0, 0}};
    if (kind.isPlanar) {
        info.scan_info = planes;
        info.num_scans = 3;
    }
    jpeg_start_compress(&info, TRUE);
    std::size_t bytes = 0;
    auto* pixels = static_cast<unsigned char*>(image.write_to_memory(&bytes));
    while (info.next_scanline < info.image_height) {
        JSAMPROW row = pixels + std::size_t{3} * info.image_width * info.next_scanline;
        jpeg_write_scanlines(&info, &row, 1);
    }
    g_free(pixels);
    jpeg_finish_compress(&info);
    std::string result(reinterpret_cast<const char*>(file), size);
    std::free(file);
    jpeg_destroy_compress(&info);
    return result;
}

std::string cut(const std::string& file, double part) {
    return file.substr(0, static_cast<std::size_t>(static_cast<double>(file.size()) * part));
}

std::string zeroTail(const std::string& file, double part) {
    std::string result = cut(file, part);
    result.resize(file.size());
    return result;
}

std::string hole(const std::string& file, double from, std::size_t size) {
    const auto at = static_cast<std::size_t>(static_cast<double>(file.size()) * from);
    return file.substr(0, at) + std::string(size, '\0') + file.substr(at + size);
}

// Where the scans' markers stand.
std::vector<std::size_t> scans(const std::string& file) {
    std::vector<std::size_t> found;
    for (std::size_t at = file.find("\xff\xda"); at != file.npos;
         at = file.find("\xff\xda", at + 2))
        found.push_back(at);
    return found;
}

// Loaded for paper and for the screen alike, and as the program loads it: looked at, too.
bool loads(const std::string& file) {
    const bool forPaper = readRows(file).has_value();
    EXPECT_EQ(readRendition(file, 64).has_value(), forPaper);
    return forPaper;
}

const std::string endOfImage = "\xff\xd9";

TEST(Damage, isSeenInAJpegThatBreaksOffHoweverItIsCoded) {
    for (const bool isArithmetic : {false, true})
        for (const bool isProgressive : {false, true}) {
            SCOPED_TRACE(testing::Message() << isArithmetic << isProgressive);
            const std::string file = jpeg(detailed(), {isArithmetic, isProgressive});
            EXPECT_TRUE(loads(file));
            for (const double part : {0.3, 0.6, 0.9}) {
                EXPECT_FALSE(loads(cut(file, part)));
                EXPECT_FALSE(loads(cut(file, part) + endOfImage));
                EXPECT_FALSE(loads(cut(file, part) + file)) << "a second one behind it";
            }
        }
}

TEST(Damage, isSeenInAJpegWithoutOneOfItsScans) {
    for (const std::string& file : {jpeg(detailed(), {false, true}), jpeg(detailed(), {true, true}),
                                    jpeg(detailed(), {false, false, true})}) {
        EXPECT_TRUE(loads(file));
        const auto starts = scans(file);
        ASSERT_GE(starts.size(), 3u);
        for (std::size_t i = 1; i < starts.size(); ++i)
            EXPECT_FALSE(loads(file.substr(0, starts[i]) + endOfImage)) << "before scan " << i;
    }
}

TEST(Damage, isSeenInAJpegWithoutAHeight) {
    std::string file = jpeg(detailed(), {});
    const auto frame = file.find("\xff\xc0");
    file[frame + 5] = file[frame + 6] = '\0';
    EXPECT_FALSE(loads(file));
}

TEST(Damage, isSeenInSurplusDataButNotInPadding) {
    const std::string file = jpeg(detailed(), {});
    const std::string body = file.substr(0, file.size() - 2);
    EXPECT_FALSE(loads(body + "surplus" + endOfImage));
    EXPECT_TRUE(loads(body + std::string(6, '\0') + endOfImage));
    EXPECT_TRUE(loads(file + "a second picture or a maker's notes"));
}

TEST(Damage, isNotSeenInALaterVersionOrAnUnknownTransform) {
    std::string file = jpeg(detailed(), {});
    file[file.find("JFIF") + 5] = 2; // the major version
    EXPECT_TRUE(loads(file));
    const std::string adobe =
        std::string("\xff\xee\0\x0e", 4) + "Adobe" + std::string("\0\x64\0\0\0\0\x07", 7);
    EXPECT_TRUE(loads(file.substr(0, 2) + adobe + file.substr(2)));
}

TEST(Damage, isSeenInACompressedTiff) {
    for (const int compression :
         {VIPS_FOREIGN_TIFF_COMPRESSION_JPEG, VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE,
          VIPS_FOREIGN_TIFF_COMPRESSION_LZW, VIPS_FOREIGN_TIFF_COMPRESSION_PACKBITS}) {
        SCOPED_TRACE(compression);
        const std::string file = saved(detailed(), ".tif", set("compression", compression));
        EXPECT_TRUE(loads(file));
        for (const double from : {0.3, 0.5, 0.7})
            EXPECT_FALSE(loads(hole(file, from, file.size() / 25))) << from;
    }
}

TEST(Damage, isSeenInATiffWithoutItsColourMap) {
    // 8 x 8 pixels, then the directory, then the map at the very end.
    const lumivert::test::TiffWriter writer(true);
    const auto word = [&](std::uint64_t value) { return writer.number(value, 2); };
    std::string map;
    for (int i = 0; i < 768; ++i)
        map += word(static_cast<std::uint64_t>(i) * 80);
    const std::string directory = writer.directory({{256, 3, 1, word(8)},
                                                    {257, 3, 1, word(8)},
                                                    {258, 3, 1, word(8)},
                                                    {259, 3, 1, word(1)},
                                                    {262, 3, 1, word(3)},
                                                    {273, 4, 1, writer.number(8, 4)},
                                                    {277, 3, 1, word(1)},
                                                    {278, 3, 1, word(8)},
                                                    {279, 4, 1, writer.number(64, 4)},
                                                    {320, 3, 768, map}},
                                                   72);
    std::string header = writer.header();
    header.replace(4, 4, writer.number(72, 4));
    const std::string file = header + std::string(64, '\x05') + directory;
    EXPECT_TRUE(loads(file));
    EXPECT_FALSE(loads(file.substr(0, file.size() - 1)));
}

TEST(Damage, isSeenInAGifThatEndsEarly) {
    const std::string file = saved(detailed(), ".gif");
    EXPECT_TRUE(loads(file));
    for (const double part : {0.3, 0.7, 0.9, 0.99}) {
        EXPECT_FALSE(loads(cut(file, part))) << part;
        EXPECT_FALSE(loads(zeroTail(file, part))) << part;
    }
    EXPECT_FALSE(loads(file.substr(0, file.size() - 1))) << "no end of the file is told";
    EXPECT_TRUE(loads(file + "more"));
}

TEST(Damage, isSeenInZerosInstead) {
    std::map<std::string, std::string> files{{"WebP", saved(detailed(), ".webp")}};
    for (const auto compression :
         {VIPS_FOREIGN_HEIF_COMPRESSION_HEVC, VIPS_FOREIGN_HEIF_COMPRESSION_AV1})
        try {
            files[compression == VIPS_FOREIGN_HEIF_COMPRESSION_HEVC ? "HEIC" : "AVIF"] =
                saved(detailed(), ".heif", set("compression", compression));
        } catch (const vips::VError&) {
            std::cout << "no encoder for one of HEIC and AVIF\n";
        }
    for (const auto& [name, file] : files) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(loads(file));
        const auto whole = readRows(file);
        for (const double part : {0.5, 0.7})
            EXPECT_FALSE(loads(zeroTail(file, part))) << part;
        // The last part of the file may be about something else than pixels.
        for (const double part : {0.8, 0.85, 0.9, 0.95})
            if (const auto rest = readRows(zeroTail(file, part)); rest) {
                EXPECT_EQ(rest->samples, whole->samples) << part;
            }
        if (name != "WebP") { // whose coder knows no end before that of its last part
            EXPECT_FALSE(loads(hole(file, 0.6, 100)));
        }
    }
}

TEST(Damage, isSeenInAPngByTheChecksumsUpToItsEnd) {
    const std::string file = saved(detailed(), ".png", {});
    const auto flipped = [&](std::size_t at) {
        std::string damaged = file;
        damaged[at] = static_cast<char>(damaged[at] ^ 1);
        return damaged;
    };
    ASSERT_TRUE(loads(file));
    for (const char* chunk : {"IHDR", "pHYs", "IDAT"}) {
        const std::size_t at = file.find(chunk);
        ASSERT_NE(at, std::string::npos) << chunk;
        EXPECT_FALSE(loads(flipped(at + 8))) << chunk;
    }
    EXPECT_FALSE(loads(flipped(file.size() * 3 / 4)));
    EXPECT_TRUE(loads(file + "IDAT"));
}

// Libpng finds no row of the stated size in the data. Which thread meets that is chance.
TEST(Damage, isSeenInAnInterlacedPngWithoutItsHeightWhicheverThreadMeetsIt) {
    std::string file = saved(detailed(), ".png", set("interlace", 1));
    ASSERT_TRUE(readRows(file));
    file[23] = 1;
    const auto sum = ::crc32(0, reinterpret_cast<const Bytef*>(file.data() + 12), 17);
    for (int i = 0; i < 4; ++i)
        file[static_cast<std::size_t>(29 + i)] = static_cast<char>(sum >> (24 - 8 * i));
    for (int i = 0; i < 100; ++i)
        EXPECT_FALSE(readRows(file)) << i;
}

TEST(Damage, isNotSeenInPlainColours) {
    const VImage plain = plain8({30, 20}, {255, 255, 255}).zoom(40, 40);
    EXPECT_TRUE(loads(saved(plain, ".jpg")));
    EXPECT_TRUE(loads(saved(plain, ".gif")));
    EXPECT_TRUE(loads(saved(plain, ".webp")));
    for (const auto compression :
         {VIPS_FOREIGN_HEIF_COMPRESSION_HEVC, VIPS_FOREIGN_HEIF_COMPRESSION_AV1})
        try {
            EXPECT_TRUE(loads(saved(plain, ".heif", set("compression", compression))));
        } catch (const vips::VError&) {
            std::cout << "no encoder for one of HEIC and AVIF\n";
        }
}

TEST(Damage, isSeenInADngThatIsCut) {
    const std::string file = lumivert::test::SensorPhoto{
        .width = 200, .height = 150, .light = [](int x, int y) {
            return std::array{0.5 + 0.3 * std::sin(x * 0.1), 0.5, 0.4 + 0.3 * std::cos(y * 0.2)};
        }}.bytes();
    EXPECT_TRUE(loads(file));
    for (const double part : {0.5, 0.97, 0.99})
        EXPECT_FALSE(loads(cut(file, part))) << part;
    EXPECT_FALSE(loads(file.substr(0, file.size() - 1)));
}

TEST(Samples, showTheDamageOfADngOfJpegTiles) {
    const char* folder = std::getenv("LUMIVERT_SAMPLES");
    if (!folder)
        GTEST_SKIP() << "LUMIVERT_SAMPLES names no folder";
    const Bytes bytes = fileBytes(std::string(folder) + "/canon_eos_6d.dng");
    const std::string file(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    EXPECT_TRUE(isWhole(bytes));
    for (const double part : {0.5, 0.97, 0.995}) {
        EXPECT_FALSE(isWhole(asBytes(cut(file, part)))) << part;
        EXPECT_FALSE(isWhole(asBytes(zeroTail(file, part)))) << part;
        EXPECT_FALSE(isWhole(asBytes(hole(file, part, 500)))) << part;
    }
}

} // namespace
} // namespace lumivert::decoder
