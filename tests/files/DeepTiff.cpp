#include "files/DeepTiff.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <memory>
#include <tiffio.h>

namespace lumivert::test {
namespace {

struct Growing {
    std::string bytes;
    std::size_t at = 0;
};

Growing& growing(thandle_t handle) {
    return *static_cast<Growing*>(handle);
}

tmsize_t read(thandle_t handle, void* to, tmsize_t size) {
    Growing& file = growing(handle);
    const std::size_t count = std::min(static_cast<std::size_t>(size), file.bytes.size() - file.at);
    std::memcpy(to, file.bytes.data() + file.at, count);
    file.at += count;
    return static_cast<tmsize_t>(count);
}

tmsize_t write(thandle_t handle, void* from, tmsize_t size) {
    Growing& file = growing(handle);
    const auto count = static_cast<std::size_t>(size);
    file.bytes.resize(std::max(file.bytes.size(), file.at + count));
    std::memcpy(file.bytes.data() + file.at, from, count);
    file.at += count;
    return size;
}

toff_t seek(thandle_t handle, toff_t offset, int whence) {
    Growing& file = growing(handle);
    file.at = offset + (whence == SEEK_CUR ? file.at : whence == SEEK_END ? file.bytes.size() : 0);
    return file.at;
}

// A row as libtiff takes it: samples of whole bytes in the machine's order, others from the most
// significant bit on.
std::vector<std::uint8_t> packed(const std::vector<std::uint32_t>& row, int bits) {
    std::vector<std::uint8_t> bytes;
    unsigned pending = 0;
    int held = 0;
    for (const std::uint32_t value : row) {
        if (bits % 8 == 0) {
            for (int i = 0; i < bits / 8; ++i) {
                const int place = std::endian::native == std::endian::little ? i : bits / 8 - 1 - i;
                bytes.push_back(static_cast<std::uint8_t>(value >> 8 * place));
            }
            continue;
        }
        for (int bit = bits - 1; bit >= 0; --bit) {
            pending = pending << 1 | (value >> bit & 1);
            if (++held % 8 == 0)
                bytes.push_back(static_cast<std::uint8_t>(pending));
        }
    }
    if (held % 8 != 0)
        bytes.push_back(static_cast<std::uint8_t>(pending << (8 - held % 8)));
    return bytes;
}

} // namespace

std::string DeepTiff::bytes() const {
    Growing file;
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(
        TIFFClientOpen(
            "test", isLittleEndian ? "wl" : "wb", &file, read, write, seek,
            [](thandle_t) { return 0; },
            [](thandle_t handle) -> toff_t { return growing(handle).bytes.size(); }, nullptr,
            nullptr),
        &TIFFCleanup);
    TIFF* const to = tiff.get();
    constexpr int rows = 3;
    constexpr int tile = 16;
    TIFFSetField(to, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(to, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(to, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(to, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(to, TIFFTAG_SAMPLEFORMAT, isFloat ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(to, TIFFTAG_PHOTOMETRIC, photometric);
    TIFFSetField(to, TIFFTAG_ORIENTATION, orientation);
    TIFFSetField(to, TIFFTAG_PLANARCONFIG, isPlanar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(to, TIFFTAG_COMPRESSION, compression);
    if (photometric == PHOTOMETRIC_YCBCR)
        TIFFSetField(to, TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
    if (predictor != 1)
        TIFFSetField(to, TIFFTAG_PREDICTOR, predictor);
    if (!extraSamples.empty())
        TIFFSetField(to, TIFFTAG_EXTRASAMPLES, extraSamples.size(), extraSamples.data());
    if (!profile.empty())
        TIFFSetField(to, TIFFTAG_ICCPROFILE, profile.size(), profile.data());
    if (isTiled) {
        TIFFSetField(to, TIFFTAG_TILEWIDTH, tile);
        TIFFSetField(to, TIFFTAG_TILELENGTH, tile);
    } else {
        TIFFSetField(to, TIFFTAG_ROWSPERSTRIP, rows);
    }
    const int blockWidth = isTiled ? tile : width;
    const int blockHeight = isTiled ? tile : rows;
    std::uint32_t block = 0;
    for (int plane = 0; plane < (isPlanar ? samples : 1); ++plane)
        for (int top = 0; top < height; top += blockHeight)
            for (int left = 0; left < width; left += blockWidth, ++block) {
                std::vector<std::uint8_t> data;
                for (int y = top; y < (isTiled ? top + tile : std::min(top + rows, height)); ++y) {
                    std::vector<std::uint32_t> row;
                    for (int x = left; x < left + blockWidth; ++x)
                        for (int s = plane; s < (isPlanar ? plane + 1 : samples); ++s)
                            row.push_back(x < width && y < height
                                              ? values[static_cast<std::size_t>(
                                                    (y * width + x) * samples + s)]
                                              : 0);
                    const auto line = packed(row, bits);
                    data.insert(data.end(), line.begin(), line.end());
                }
                const auto size = static_cast<tmsize_t>(data.size());
                if ((isTiled ? TIFFWriteEncodedTile(to, block, data.data(), size)
                             : TIFFWriteEncodedStrip(to, block, data.data(), size)) < 0)
                    return {};
            }
    if (TIFFWriteDirectory(to) == 0)
        return {};
    return file.bytes;
}

} // namespace lumivert::test
