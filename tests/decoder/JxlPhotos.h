#pragma once

#include "platform/Geometry.h"

#include <array>
#include <functional>
#include <string>

namespace lumivert::decoder::test {

/// A photo that libjxl encodes, RGB.
struct JxlPhoto {
    /// Red, green and blue of the stored picture, as the transfer has them, 0 to 1.
    std::function<std::array<double, 3>(int x, int y)> color{};
    PixelSize size{64, 48};
    /// Of a sample, 8 or 16.
    int bits = 16;
    /// ITU-T H.273's number; the primaries are those of BT.2100.
    int transfer = 16;
    /// In its own numbers, else as XYB.
    bool isLossless = true;
    /// By Exif's numbers.
    int orientation = 1;

    /// Empty where libjxl does not encode it.
    [[nodiscard]] std::string bytes() const;
};

/// A JPEG as libjxl keeps it, from whose file the very JPEG could be had again. Empty where it does
/// not.
[[nodiscard]] std::string recompressed(const std::string& jpeg);

} // namespace lumivert::decoder::test
