#pragma once

#include <array>
#include <functional>
#include <string>

namespace lumivert::decoder::test {

/// A photo that libjxl encodes, 64 x 48, RGB of 16 bits.
struct JxlPhoto {
    /// Red, green and blue as the transfer has them, 0 to 1.
    std::function<std::array<double, 3>(int x, int y)> color{};
    /// ITU-T H.273's number; the primaries are those of BT.2100.
    int transfer = 16;
    /// In its own numbers, else as XYB.
    bool isLossless = true;
    /// By Exif's numbers.
    int orientation = 1;

    /// Empty where libjxl does not encode it.
    [[nodiscard]] std::string bytes() const;
};

} // namespace lumivert::decoder::test
