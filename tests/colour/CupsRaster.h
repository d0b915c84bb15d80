#pragma once

#include <string>
#include <vector>

namespace lumivert {

/// Device values, 0 to 1.
using Color = std::vector<double>;

/// The pixels that a raster driver gets: 8 bits a component, interleaved.
struct CupsRaster {
    int width = 0;
    int height = 0;
    int channels = 0;
    int bytesPerLine = 0;
    std::string pixels;

    /// The mean over a rectangle that lies on the page.
    [[nodiscard]] Color mean(int x, int y, int columns, int rows) const;
    /// 0 to 255.
    [[nodiscard]] int at(int x, int y, int channel) const;
};

/// Reads the first page of an uncompressed raster stream of version 3 in the machine's byte order
/// (cups/raster.h). Throws std::runtime_error for anything else.
[[nodiscard]] CupsRaster readCupsRaster(const std::string& stream);

} // namespace lumivert
