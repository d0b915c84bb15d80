#include "corpus/Mutants.h"

#include "corpus/IndependentReaders.h"
#include "decoder/TestPhotos.h"
#include "files/BmpWriter.h"
#include "files/DeepTiff.h"
#include "files/ExrWriter.h"
#include "files/SensorPhoto.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iostream>
#include <random>
#include <zlib.h>

namespace lumivert::test {
namespace {

using decoder::test::ExifBuilder;
using decoder::test::image8;
using decoder::test::saved;
using decoder::test::withExif;
using vips::VImage;
using vips::VOption;
using enum Expected;

VImage photo() {
    return image8({96, 64}, 3, [](int x, int y, int band) {
        return static_cast<int>(128 + 60 * std::sin(x * 0.1 + band) + 50 * std::cos(y * 0.13)) +
               (x * 7919 + y * 104729 + band * 31) % 17;
    });
}

VImage inks() {
    return photo()
        .bandjoin(photo()[0] / 3)
        .cast(VIPS_FORMAT_UCHAR)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_CMYK));
}

VOption* set(const char* name, int value) {
    return VImage::option()->set(name, value);
}

std::string digitalNegative() {
    SensorPhoto negative{.width = 96, .height = 64};
    negative.light = [](int x, int y) {
        return std::array{0.5 + 0.3 * std::sin(x * 0.1), 0.5, 0.4 + 0.3 * std::cos(y * 0.2)};
    };
    return negative.bytes();
}

// In strips, not compressed.
std::string deepTiff(int bits, bool isFloat) {
    DeepTiff tiff{.width = 96, .height = 64, .bits = bits, .isFloat = isFloat};
    for (int i = 0; i < 96 * 64 * 3; ++i)
        tiff.values.push_back(static_cast<std::uint32_t>(i * 7919 % 0x3c00) & ((1U << bits) - 1));
    return tiff.bytes();
}

std::string bitmap() {
    const BmpWriter writer{.width = 96, .height = 64};
    return writer.bytes(writer.rows([](int x, int y) {
        return static_cast<std::uint32_t>(x * 7919 + y * 104729) & 0xffffffU;
    }));
}

// Runs, and numbers as they are, in every row.
std::string bitmapOfRuns() {
    BmpWriter writer{.width = 96, .height = 64, .bits = 8, .coding = 1};
    for (std::uint32_t i = 0; i < 256; ++i)
        writer.palette.push_back(i * 0x10307 & 0xffffffU);
    std::string runs;
    for (int y = 0; y < 64; ++y) {
        for (int i = 0; i < 16; ++i) {
            runs += static_cast<char>(3);
            runs += static_cast<char>(y * 16 + i);
        }
        runs += std::string("\0\x30", 2);
        for (int i = 0; i < 48; ++i)
            runs += static_cast<char>(y + i * 5);
        runs += std::string(2, '\0');
    }
    return writer.bytes(runs + std::string("\0\1", 2));
}

std::string openExr(int compression) {
    ExrWriter writer{.display = {0, 0, 95, 63}};
    writer.compression = compression;
    return writer.bytes([](int x, int y, int channel) {
        return static_cast<float>((x * 7919 + y * 104729 + channel * 31) % 1000) / 1000;
    });
}

std::string bigEndian(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
            static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::uint32_t bigEndian(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

bool isPng(const std::string& file) {
    return file.starts_with("\x89PNG");
}

std::string pngChunk(const std::string& typeAndData) {
    const auto* bytes = reinterpret_cast<const Bytef*>(typeAndData.data());
    return bigEndian(static_cast<std::uint32_t>(typeAndData.size() - 4)) + typeAndData +
           bigEndian(static_cast<std::uint32_t>(
               ::crc32(0, bytes, static_cast<uInt>(typeAndData.size()))));
}

/// With checksums that are right again: a liar takes care of them.
std::string withRightChecksums(const std::string& png) {
    std::string result = png.substr(0, 8);
    for (std::size_t at = 8; at + 12 <= png.size();) {
        const std::size_t length = bigEndian(png, at);
        if (length > png.size() - at - 12)
            return png;
        result += pngChunk(png.substr(at + 4, length + 4));
        at += length + 12;
    }
    return result;
}

/// Wherever near its start the file may state 96 or 64 pixels: other numbers.
std::vector<std::string> withOtherSizes(const std::string& file) {
    std::vector<std::string> lies;
    const std::size_t end = std::min<std::size_t>(file.size() - 2, 700);
    for (std::size_t at = 4; at < end; ++at)
        for (const bool littleEndian : {false, true}) {
            const auto low = static_cast<unsigned char>(file[at + (littleEndian ? 0 : 1)]);
            const auto high = static_cast<unsigned char>(file[at + (littleEndian ? 1 : 0)]);
            if (high != 0 || (low != 96 && low != 64))
                continue;
            for (const int other : {0, 1, low - 1, low + 1, 4 * low, 30000, 65535}) {
                std::string lie = file;
                lie[at + (littleEndian ? 0 : 1)] = static_cast<char>(other);
                lie[at + (littleEndian ? 1 : 0)] = static_cast<char>(other >> 8);
                lies.push_back(isPng(file) ? withRightChecksums(lie) : lie);
            }
        }
    return lies;
}

std::string deflated(const std::string& bytes) {
    uLongf size = ::compressBound(static_cast<uLong>(bytes.size()));
    std::string result(size, '\0');
    ::compress(reinterpret_cast<Bytef*>(result.data()), &size,
               reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uLong>(bytes.size()));
    result.resize(size);
    return result;
}

/// A structure of TIFF, little-endian, whose first directory names itself as the next.
std::string withEndlessDirectories(std::string tiff, std::size_t at = 0) {
    const auto number = [&](std::size_t where, int bytes) {
        std::size_t value = 0;
        for (int i = bytes - 1; i >= 0; --i)
            value = value << 8 | static_cast<unsigned char>(tiff[where + static_cast<size_t>(i)]);
        return value;
    };
    const std::size_t first = number(at + 4, 4);
    const std::size_t next = at + first + 2 + 12 * number(at + first, 2);
    std::memcpy(tiff.data() + next, tiff.data() + at + 4, 4);
    return tiff;
}

} // namespace

std::vector<Kind> everyKind() {
    const auto tiff = [](int compression) {
        return saved(photo(), ".tif", set("compression", compression));
    };
    std::vector<Kind> all{
        {"jpeg", saved(photo(), ".jpg"), asItsLibraryReads, refusedOrWhole, asItsLibraryReads,
         readJpeg},
        {"jpeg-progressive", saved(photo(), ".jpg", set("interlace", 1)), asItsLibraryReads,
         refusedOrWhole, asItsLibraryReads, readJpeg},
        {"jpeg-444", saved(photo(), ".jpg", set("subsample_mode", VIPS_FOREIGN_SUBSAMPLE_OFF)),
         asItsLibraryReads, refusedOrWhole, asItsLibraryReads, readJpeg},
        {"jpeg-restarts", saved(photo(), ".jpg", set("restart_interval", 3)), asItsLibraryReads,
         refusedOrWhole, asItsLibraryReads, readJpeg},
        {"jpeg-exif",
         withExif(saved(photo(), ".jpg"), ExifBuilder{.orientation = 1, .colorSpace = 1}.bytes()),
         asItsLibraryReads, refusedOrWhole, asItsLibraryReads, readJpeg},
        {"jpeg-cmyk", saved(inks(), ".jpg"), asItsLibraryReads, refusedOrWhole, asItsLibraryReads,
         readJpeg},
        {"png", saved(photo(), ".png"), refusedOrWhole, refusedOrWhole, refusedOrWhole, readPng},
        {"png-interlaced", saved(photo(), ".png", set("interlace", 1)), refusedOrWhole,
         refusedOrWhole, refusedOrWhole, readPng},
        {"png-16", saved(photo().cast(VIPS_FORMAT_USHORT) * 257, ".png"), refusedOrWhole,
         refusedOrWhole, refusedOrWhole},
        {"webp", saved(photo(), ".webp"), asItsLibraryReads, refusedOrWhole, asItsLibraryReads,
         readWebp},
        {"webp-lossless", saved(photo(), ".webp", set("lossless", 1)), asItsLibraryReads,
         refusedOrWhole, asItsLibraryReads, readWebp},
        {"gif", saved(photo(), ".gif"), asItsLibraryReads},
        {"tiff", tiff(VIPS_FOREIGN_TIFF_COMPRESSION_NONE), asItsLibraryReads, asItsLibraryReads,
         asItsLibraryReads, readTiff},
        {"tiff-deflate", tiff(VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE), refusedOrWhole,
         refusedOrWhole, asItsLibraryReads, readTiff},
        {"tiff-lzw", tiff(VIPS_FOREIGN_TIFF_COMPRESSION_LZW), asItsLibraryReads, refusedOrWhole,
         asItsLibraryReads, readTiff},
        {"tiff-packbits", tiff(VIPS_FOREIGN_TIFF_COMPRESSION_PACKBITS), asItsLibraryReads,
         refusedOrWhole, asItsLibraryReads, readTiff},
        {"tiff-jpeg", tiff(VIPS_FOREIGN_TIFF_COMPRESSION_JPEG), asItsLibraryReads, refusedOrWhole,
         asItsLibraryReads, readTiff},
        {"tiff-cmyk", saved(inks(), ".tif", set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_LZW)),
         asItsLibraryReads, refusedOrWhole, asItsLibraryReads, readTiffStrips},
        {"tiff-12", deepTiff(12, false), asItsLibraryReads, asItsLibraryReads, asItsLibraryReads,
         readTiffStrips},
        {"tiff-half", deepTiff(16, true), asItsLibraryReads, asItsLibraryReads, asItsLibraryReads,
         readTiffStrips, 1},
        {"bmp", bitmap(), asItsLibraryReads, asItsLibraryReads, asItsLibraryReads, readBmp},
        {"bmp-runs", bitmapOfRuns(), asItsLibraryReads, asItsLibraryReads, asItsLibraryReads,
         readBmpRuns},
        {"exr", openExr(0), asItsLibraryReads, asItsLibraryReads, asItsLibraryReads, readExr},
        {"exr-zip", openExr(3), asItsLibraryReads, asItsLibraryReads, asItsLibraryReads, readExr},
        {"dng", digitalNegative(), asItsLibraryReads, asItsLibraryReads}};
    for (const auto& [name, compression] : {std::pair{"heic", VIPS_FOREIGN_HEIF_COMPRESSION_HEVC},
                                            std::pair{"avif", VIPS_FOREIGN_HEIF_COMPRESSION_AV1}})
        try {
            // Up to three zeros at its end may be the picture's own.
            all.push_back({name, saved(photo(), ".heif", set("compression", compression)),
                           asItsLibraryReads, asItsLibraryReads, asItsLibraryReads, readHeif});
        } catch (const vips::VError&) {
            std::cerr << "no encoder for " << name << '\n';
        }
    return all;
}

std::vector<Mutant> mutantsOf(const Kind& kind) {
    std::vector<Mutant> mutants;
    const std::string& file = kind.file;
    const auto add = [&](const std::string& what, std::size_t at, std::string bytes,
                         Expected expected) {
        mutants.push_back({&kind,
                           std::string(kind.name) + ", " + what + " at " + std::to_string(at),
                           std::move(bytes), expected});
    };
    add("more behind it", file.size(), file + "a maker's notes", whole);
    for (std::size_t i = 0; i < 30; ++i) {
        const std::size_t at = file.size() * i / 30;
        add("cut", at, file.substr(0, at), refusedOrWhole);
        std::string zeros = file.substr(0, at);
        zeros.resize(file.size());
        add("zeros from", at, zeros, kind.zeroTail);
        const std::size_t length = std::min(file.size() / 30, file.size() - at);
        std::string hole = file;
        hole.replace(at, length, length, '\0');
        add("hole", at, hole, kind.hole);
    }
    for (std::size_t i = 1; i <= 6; ++i)
        add("cut", file.size() - i, file.substr(0, file.size() - i), refusedOrWhole);
    std::minstd_rand random(5);
    for (int i = 0; i < 60; ++i) {
        const std::size_t bit = random() % (file.size() * 8);
        std::string flipped = file;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
        add("flipped bit", bit, flipped, kind.flip);
    }
    const auto lies = withOtherSizes(file);
    for (std::size_t i = 0; i < lies.size(); i += 1 + lies.size() / 40)
        add("other size", i, lies[i], asItsLibraryReads);

    if (file.starts_with(std::string("II*\0", 4)))
        add("directories without end", 0, withEndlessDirectories(file), refusedOrWhole);
    if (const auto exif = file.find(std::string("Exif\0\0II", 8)); exif != file.npos)
        add("Exif directories without end", exif, withEndlessDirectories(file, exif + 6), whole);
    if (isPng(file)) {
        const std::string profile = std::string("iCCPvast\0\0", 10);
        // Libspng refuses a photo with the larger one, libpng does without it.
        for (const std::size_t size : {std::size_t{1000}, std::size_t{200} << 20U})
            add("a profile of zeros", size,
                file.substr(0, 33) + pngChunk(profile + deflated(std::string(size, '\0'))) +
                    file.substr(33),
                size == 1000 ? whole : refusedOrWhole);
    }
    return mutants;
}

std::string vastPng(int edge, bool isInterlaced) {
    struct Pass { // of Adam7: where it begins, and how far apart its pixels are
        int x, y, dx, dy;
    };
    constexpr std::array adam7{Pass{0, 0, 8, 8}, Pass{4, 0, 8, 8}, Pass{0, 4, 4, 8},
                               Pass{2, 0, 4, 4}, Pass{0, 2, 2, 4}, Pass{1, 0, 2, 2},
                               Pass{0, 1, 1, 2}};
    const auto length = [&](const Pass& pass) {
        const std::uint64_t width =
            static_cast<std::uint64_t>((edge - pass.x + pass.dx - 1) / pass.dx);
        const std::uint64_t height =
            static_cast<std::uint64_t>((edge - pass.y + pass.dy - 1) / pass.dy);
        return height * (1 + (isInterlaced ? 3 * width : (width + 7) / 8));
    };
    std::uint64_t zeros = 0;
    if (isInterlaced)
        for (const Pass& pass : adam7)
            zeros += length(pass);
    else
        zeros = length({0, 0, 1, 1});

    // A piece that refers to nothing before it can be repeated.
    const std::string piece(std::size_t{1} << 20, '\0');
    const auto part = [&](std::size_t size, int flush) {
        z_stream stream{};
        ::deflateInit2(&stream, 9, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
        std::string result(4096, '\0');
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data()));
        stream.avail_in = static_cast<uInt>(size);
        stream.next_out = reinterpret_cast<Bytef*>(result.data());
        stream.avail_out = static_cast<uInt>(result.size());
        ::deflate(&stream, flush);
        result.resize(stream.total_out);
        ::deflateEnd(&stream);
        return result;
    };
    std::string data = "IDAT\x78\xda";
    const std::string whole = part(piece.size(), Z_FULL_FLUSH);
    for (std::uint64_t i = 0; i < zeros / piece.size(); ++i)
        data += whole;
    data += part(zeros % piece.size(), Z_FINISH);
    data += bigEndian(static_cast<std::uint32_t>(zeros % 65521) << 16 | 1); // Adler-32 of zeros
    const auto size = bigEndian(static_cast<std::uint32_t>(edge));
    const std::string kind =
        isInterlaced ? std::string("\x8\x2\0\0\x1", 5) : std::string("\x1\0\0\0\0", 5);
    return "\x89PNG\r\n\x1a\n" + pngChunk("IHDR" + size + size + kind) + pngChunk(data) +
           pngChunk("IEND");
}

} // namespace lumivert::test
