#include "decoder/TiffFile.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <tiffio.h>

namespace lumivert::decoder {
namespace {

struct Memory {
    ByteView bytes;
    std::uint64_t at = 0;
};

Memory& memoryOf(thandle_t handle) {
    return *static_cast<Memory*>(handle);
}

tmsize_t read(thandle_t handle, void* to, tmsize_t size) {
    auto& [bytes, at] = memoryOf(handle);
    const ByteView found = part(bytes, at, static_cast<std::uint64_t>(size));
    std::ranges::copy(found, static_cast<std::byte*>(to));
    at += found.size();
    return static_cast<tmsize_t>(found.size());
}

tmsize_t write(thandle_t, void*, tmsize_t) {
    return 0;
}

toff_t seek(thandle_t handle, toff_t offset, int whence) {
    auto& [bytes, at] = memoryOf(handle);
    return at = offset + (whence == SEEK_CUR ? at : whence == SEEK_END ? bytes.size() : 0);
}

int close(thandle_t) {
    return 0;
}

toff_t size(thandle_t handle) {
    return memoryOf(handle).bytes.size();
}

// A field of type `Value`; `missing` where there is none.
template <class Value>
Value field(TIFF* file, std::uint32_t tag, Value missing = {}) {
    Value value = missing;
    return file && TIFFGetFieldDefaulted(file, tag, &value) ? value : missing;
}

// The directories below this one.
std::vector<std::uint64_t> subdirectories(TIFF* file) {
    std::uint16_t count = 0;
    const std::uint64_t* offsets = nullptr;
    if (!file || !TIFFGetField(file, TIFFTAG_SUBIFD, &count, &offsets))
        return {};
    return {offsets, offsets + count};
}

bool isDng(TIFF* file) {
    const void* version = nullptr;
    return file && TIFFGetField(file, TIFFTAG_DNGVERSION, &version);
}

constexpr std::uint16_t noPhotometric = 0xffff;

} // namespace

TiffFile::TiffFile(ByteView bytes) {
    // What is odd about tags is no damage to pixels, which libvips would report.
    const auto ignore = [](TIFF*, void*, const char*, const char*, va_list) { return 1; };
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
        TIFFOpenOptionsAlloc(), &TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), ignore, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignore, nullptr);
    const auto memory = std::make_shared<Memory>(Memory{bytes});
    // "m": read, since a map would have to be writable; "c": strips as they are.
    if (TIFF* file = TIFFClientOpenExt("photo", "rmc", memory.get(), read, write, seek, close, size,
                                       nullptr, nullptr, options.get()))
        m_file = {file, [memory](TIFF* opened) { TIFFClose(opened); }};
}

bool TiffFile::isPicture() const {
    TIFF* const file = m_file.get();
    // Sensor data has 32803 or 34892.
    return field(file, TIFFTAG_PHOTOMETRIC, noPhotometric) <= PHOTOMETRIC_ITULAB && !isDng(file) &&
           subdirectories(file).empty() &&
           (field<std::uint32_t>(file, TIFFTAG_SUBFILETYPE) & FILETYPE_REDUCEDIMAGE) == 0;
}

bool TiffFile::isIccLab() const {
    return field(m_file.get(), TIFFTAG_PHOTOMETRIC, noPhotometric) == PHOTOMETRIC_ICCLAB;
}

std::optional<Density> TiffFile::density() const {
    TIFF* const file = m_file.get();
    const auto unit = field<std::uint16_t>(file, TIFFTAG_RESOLUTIONUNIT);
    if (unit != RESUNIT_INCH && unit != RESUNIT_CENTIMETER)
        return std::nullopt;
    const double perInch = unit == RESUNIT_CENTIMETER ? 2.54 : 1;
    return usableDensity(perInch * static_cast<double>(field<float>(file, TIFFTAG_XRESOLUTION)),
                         perInch * static_cast<double>(field<float>(file, TIFFTAG_YRESOLUTION)));
}

std::vector<TiffFile::Coded> TiffFile::dngTiles() const {
    TIFF* const file = m_file.get();
    std::vector<Coded> tiles;
    if (!isDng(file))
        return tiles;
    const auto add = [&] {
        const int compression = field<std::uint16_t>(file, TIFFTAG_COMPRESSION);
        const auto count = TIFFIsTiled(file) ? TIFFNumberOfTiles(file) : TIFFNumberOfStrips(file);
        for (std::uint32_t i = 0; i < count; ++i)
            tiles.push_back(
                {compression, TIFFGetStrileOffset(file, i), TIFFGetStrileByteCount(file, i)});
    };
    const auto below = subdirectories(file);
    add();
    for (const std::uint64_t directory : below)
        if (TIFFSetSubDirectory(file, directory))
            add();
    TIFFSetDirectory(file, 0);
    return tiles;
}

} // namespace lumivert::decoder
