#include "decoder/Containers.h"

#include "platform/decoder/DecoderProtocol.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <tiffio.h>

namespace lumivert::decoder {
namespace {

struct Memory {
    ByteView bytes;
    std::uint64_t at = 0;
};

tmsize_t read(thandle_t handle, void* to, tmsize_t size) {
    auto& [bytes, at] = *static_cast<Memory*>(handle);
    const ByteView found = part(bytes, at, static_cast<std::uint64_t>(size));
    std::ranges::copy(found, static_cast<std::byte*>(to));
    at += found.size();
    return static_cast<tmsize_t>(found.size());
}

toff_t seek(thandle_t handle, toff_t offset, int whence) {
    auto& [bytes, at] = *static_cast<Memory*>(handle);
    return at = offset + (whence == SEEK_CUR ? at : whence == SEEK_END ? bytes.size() : 0);
}

std::unique_ptr<TIFF, void (*)(TIFF*)> openTiff(Memory& memory) {
    // What is odd about tags is no damage to pixels, which libvips would report.
    const auto ignore = [](TIFF*, void*, const char*, const char*, va_list) { return 1; };
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
        TIFFOpenOptionsAlloc(), &TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), ignore, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignore, nullptr);
    // "m": read, since a map would have to be writable; "c": strips as they are.
    return {
        TIFFClientOpenExt(
            "photo", "rmc", &memory, read, [](thandle_t, void*, tmsize_t) -> tmsize_t { return 0; },
            seek, [](thandle_t) { return 0; },
            [](thandle_t handle) -> toff_t { return static_cast<Memory*>(handle)->bytes.size(); },
            nullptr, nullptr, options.get()),
        &TIFFClose};
}

// A field of type `Value`; `missing` where there is none.
template <class Value>
Value field(TIFF* file, std::uint32_t tag, Value missing = {}) {
    Value value = missing;
    return TIFFGetFieldDefaulted(file, tag, &value) ? value : missing;
}

PixelSize sizeOf(TIFF* file) {
    return {static_cast<int>(field<std::uint32_t>(file, TIFFTAG_IMAGEWIDTH)),
            static_cast<int>(field<std::uint32_t>(file, TIFFTAG_IMAGELENGTH))};
}

} // namespace

ByteView part(ByteView bytes, std::uint64_t at, std::uint64_t size) {
    const std::uint64_t from = std::min<std::uint64_t>(at, bytes.size());
    return bytes.subspan(from, std::min<std::uint64_t>(size, bytes.size() - from));
}

std::uint64_t bigEndian(ByteView bytes, std::uint64_t at, std::size_t size) {
    std::uint64_t value = 0;
    for (std::uint64_t i = at; i < at + size; ++i)
        value = value << 8 | (i < bytes.size() ? std::to_integer<std::uint64_t>(bytes[i]) : 0);
    return value;
}

std::string_view asText(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::vector<Block> pngChunks(ByteView file) {
    std::vector<Block> chunks;
    for (std::uint64_t at = 8; at + 12 <= file.size();) {
        const std::uint64_t length = bigEndian(file, at, 4);
        const Block chunk{asText(part(file, at + 4, 4)), part(file, at + 8, length)};
        if (chunk.name == "IDAT" || length > file.size() - at - 12)
            break;
        chunks.push_back(chunk);
        at += 12 + length;
    }
    return chunks;
}

std::vector<Block> isoBoxes(ByteView bytes) {
    std::vector<Block> boxes;
    for (std::uint64_t at = 0; at + 8 <= bytes.size();) {
        std::uint64_t size = bigEndian(bytes, at, 4);
        const std::uint64_t head = size == 1 ? 16 : 8;
        if (size == 1)
            size = bigEndian(bytes, at + 8, 8);
        if (size == 0)
            size = bytes.size() - at;
        if (size < head)
            break;
        boxes.push_back({asText(part(bytes, at + 4, 4)), part(bytes, at + head, size - head)});
        at += std::min<std::uint64_t>(size, bytes.size() - at);
    }
    return boxes;
}

std::optional<Density> usableDensity(double x, double y) {
    using protocol::isUsable;
    if (!isUsable(x) && !isUsable(y))
        return std::nullopt;
    return Density{isUsable(x) ? x : y, isUsable(y) ? y : x};
}

TiffFacts readTiff(ByteView bytes) {
    TiffFacts facts;
    Memory memory{bytes};
    const auto opened = openTiff(memory);
    TIFF* const file = opened.get();
    if (!file)
        return facts;
    const void* version = nullptr;
    const bool isDng = TIFFGetField(file, TIFFTAG_DNGVERSION, &version);
    const bool isCanonRaw = asText(part(bytes, 8, 2)) == "CR";
    std::uint16_t count = 0;
    const std::uint64_t* offsets = nullptr;
    TIFFGetField(file, TIFFTAG_SUBIFD, &count, &offsets);
    const std::vector<std::uint64_t> below(offsets, offsets + count);
    // Sensor data has 32803 or 34892.
    const auto photometric = field<std::uint16_t>(file, TIFFTAG_PHOTOMETRIC, 0xffff);
    facts.isPicture = photometric <= PHOTOMETRIC_ITULAB && !isDng && !isCanonRaw && below.empty() &&
                      !(field<std::uint32_t>(file, TIFFTAG_SUBFILETYPE) & FILETYPE_REDUCEDIMAGE);
    facts.isIccLab = photometric == PHOTOMETRIC_ICCLAB;
    const auto compression = field<std::uint16_t>(file, TIFFTAG_COMPRESSION);
    facts.isYcbcr = photometric == PHOTOMETRIC_YCBCR && compression != COMPRESSION_JPEG &&
                    compression != COMPRESSION_OJPEG;
    facts.size = sizeOf(file);
    facts.orientation = field<std::uint16_t>(file, TIFFTAG_ORIENTATION);
    std::uint32_t profileSize = 0;
    const std::byte* profile = nullptr;
    if (TIFFGetField(file, TIFFTAG_ICCPROFILE, &profileSize, &profile))
        facts.profile = {profile, profile + profileSize};
    const auto unit = field<std::uint16_t>(file, TIFFTAG_RESOLUTIONUNIT);
    const double perInch = unit == RESUNIT_CENTIMETER ? 2.54 : unit == RESUNIT_INCH ? 1 : 0;
    facts.density =
        usableDensity(perInch * static_cast<double>(field<float>(file, TIFFTAG_XRESOLUTION)),
                      perInch * static_cast<double>(field<float>(file, TIFFTAG_YRESOLUTION)));
    const auto addTiles = [&] {
        const int coding = field<std::uint16_t>(file, TIFFTAG_COMPRESSION);
        const auto tiles = TIFFIsTiled(file) ? TIFFNumberOfTiles(file) : TIFFNumberOfStrips(file);
        for (std::uint32_t i = 0; i < tiles; ++i)
            facts.dngTiles.push_back(
                {coding, TIFFGetStrileOffset(file, i), TIFFGetStrileByteCount(file, i)});
    };
    if (isDng)
        addTiles();
    for (const std::uint64_t directory : below)
        if (isDng && TIFFSetSubDirectory(file, directory))
            addTiles();
    return facts;
}

std::vector<std::uint32_t> readYcbcr(ByteView bytes) {
    Memory memory{bytes};
    const auto file = openTiff(memory);
    const auto [width, height] = sizeOf(file.get());
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) *
                                      static_cast<std::size_t>(height));
    // Of the orientation that the file has: nothing is turned.
    if (!TIFFReadRGBAImageOriented(file.get(), static_cast<std::uint32_t>(width),
                                   static_cast<std::uint32_t>(height), pixels.data(),
                                   field<std::uint16_t>(file.get(), TIFFTAG_ORIENTATION), 1))
        throw std::runtime_error("YCbCr that libtiff does not read");
    return pixels;
}

} // namespace lumivert::decoder
