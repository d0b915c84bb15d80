#include "colour/CupsRaster.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace lumivert {
namespace {

// cups_page_header2_t: 1796 bytes behind the sync word.
constexpr std::size_t headerAt = 4;
constexpr std::size_t headerSize = 1796;
constexpr std::size_t widthAt = 372;
constexpr std::size_t heightAt = 376;
constexpr std::size_t bitsPerColorAt = 384;
constexpr std::size_t bitsPerPixelAt = 388;
constexpr std::size_t bytesPerLineAt = 392;
constexpr std::size_t colorOrderAt = 396;

} // namespace

CupsRaster readCupsRaster(const std::string& stream) {
    if (!stream.starts_with("3SaR") || stream.size() < headerAt + headerSize)
        throw std::runtime_error("no CUPS raster of version 3: " + stream.substr(0, 4));
    const auto field = [&](std::size_t offset) {
        std::uint32_t value = 0;
        std::memcpy(&value, stream.data() + headerAt + offset, sizeof value);
        return static_cast<int>(value);
    };
    CupsRaster raster;
    raster.width = field(widthAt);
    raster.height = field(heightAt);
    raster.channels = field(bitsPerPixelAt) / 8;
    raster.bytesPerLine = field(bytesPerLineAt);
    const auto size =
        static_cast<std::size_t>(raster.bytesPerLine) * static_cast<std::size_t>(raster.height);
    if (field(bitsPerColorAt) != 8 || field(colorOrderAt) != 0 ||
        raster.bytesPerLine < raster.width * raster.channels)
        throw std::runtime_error("no interleaved raster of 8 bits");
    raster.pixels = stream.substr(headerAt + headerSize, size);
    if (raster.pixels.size() != size)
        throw std::runtime_error("the raster breaks off");
    return raster;
}

int CupsRaster::at(int x, int y, int channel) const {
    return static_cast<unsigned char>(
        pixels.at(static_cast<std::size_t>(y * bytesPerLine + x * channels + channel)));
}

Color CupsRaster::mean(int x, int y, int columns, int rows) const {
    Color sum(static_cast<std::size_t>(channels));
    for (int row = y; row < y + rows; ++row)
        for (int column = x; column < x + columns; ++column)
            for (int channel = 0; channel < channels; ++channel)
                sum[static_cast<std::size_t>(channel)] += at(column, row, channel);
    for (double& value : sum)
        value /= 255.0 * columns * rows;
    return sum;
}

} // namespace lumivert
