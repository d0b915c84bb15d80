#include "decoder/TiffFile.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <tiffio.h>

namespace lumivert::decoder {

struct TiffFile::Memory {
    std::span<const std::byte> bytes;
    std::uint64_t at = 0;

    static tmsize_t read(thandle_t handle, void* to, tmsize_t size) {
        auto& memory = *static_cast<Memory*>(handle);
        const std::uint64_t left =
            memory.bytes.size() - std::min<std::uint64_t>(memory.at, memory.bytes.size());
        const std::uint64_t count = std::min<std::uint64_t>(left, static_cast<std::uint64_t>(size));
        if (count > 0)
            std::memcpy(to, memory.bytes.data() + memory.at, count);
        memory.at += count;
        return static_cast<tmsize_t>(count);
    }
    static tmsize_t write(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t seek(thandle_t handle, toff_t offset, int whence) {
        auto& memory = *static_cast<Memory*>(handle);
        const std::uint64_t base = whence == SEEK_CUR   ? memory.at
                                   : whence == SEEK_END ? memory.bytes.size()
                                                        : 0;
        return memory.at = base + offset;
    }
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t handle) { return static_cast<Memory*>(handle)->bytes.size(); }
};

TiffFile::TiffFile(std::span<const std::byte> bytes)
    : m_memory(std::make_shared<Memory>(Memory{bytes})) {
    // What is odd about tags is no damage to pixels, which libvips would report.
    const auto ignore = [](TIFF*, void*, const char*, const char*, va_list) { return 1; };
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
        TIFFOpenOptionsAlloc(), &TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), ignore, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignore, nullptr);
    // "m": read, since a map would have to be writable.
    if (TIFF* file = TIFFClientOpenExt("photo", "rm", m_memory.get(), Memory::read, Memory::write,
                                       Memory::seek, Memory::close, Memory::size, nullptr, nullptr,
                                       options.get()))
        m_file.reset(file, &TIFFClose);
}

bool TiffFile::isPicture() const {
    std::uint16_t photometric = 0;
    if (!m_file || !TIFFGetField(m_file.get(), TIFFTAG_PHOTOMETRIC, &photometric))
        return false;
    std::uint32_t subfile = 0;
    TIFFGetFieldDefaulted(m_file.get(), TIFFTAG_SUBFILETYPE, &subfile);
    std::uint16_t count = 0;
    void* values = nullptr;
    const bool hasMore = TIFFGetField(m_file.get(), TIFFTAG_SUBIFD, &count, &values) != 0;
    const bool isDng = TIFFGetField(m_file.get(), TIFFTAG_DNGVERSION, &values) != 0;
    // Sensor data has 32803 or 34892.
    return photometric <= PHOTOMETRIC_ITULAB && !hasMore && !isDng &&
           (subfile & FILETYPE_REDUCEDIMAGE) == 0;
}

bool TiffFile::isIccLab() const {
    std::uint16_t photometric = 0;
    return m_file && TIFFGetField(m_file.get(), TIFFTAG_PHOTOMETRIC, &photometric) &&
           photometric == PHOTOMETRIC_ICCLAB;
}

std::optional<Density> TiffFile::density() const {
    float x = 0;
    float y = 0;
    std::uint16_t unit = 0;
    if (!m_file)
        return std::nullopt;
    TIFFGetField(m_file.get(), TIFFTAG_XRESOLUTION, &x);
    TIFFGetField(m_file.get(), TIFFTAG_YRESOLUTION, &y);
    TIFFGetFieldDefaulted(m_file.get(), TIFFTAG_RESOLUTIONUNIT, &unit);
    if (unit != RESUNIT_INCH && unit != RESUNIT_CENTIMETER)
        return std::nullopt;
    const double perInch = unit == RESUNIT_CENTIMETER ? 2.54 : 1;
    return usableDensity(static_cast<double>(x) * perInch, static_cast<double>(y) * perInch);
}

} // namespace lumivert::decoder
