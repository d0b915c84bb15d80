#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace lumivert::test {

/// The bytes of a Windows bitmap.
struct BmpWriter {
    int width = 0;
    /// Below 0: from the top down.
    int height = 0;
    int bits = 24;
    /// The header's compression: 0 none, 1 runs of 8 bits, 2 of 4, 3 masks.
    int coding = 0;
    /// The size of the header; masks beyond 40 bytes are in it.
    int infoSize = 40;
    /// Of colours 0xRRGGBB.
    std::vector<std::uint32_t> palette = {};
    /// Red, green, blue, alpha.
    std::vector<std::uint32_t> masks = {};
    /// Dots a metre.
    int across = 0;
    int down = 0;
    /// An ICC profile, for a header of 124 bytes.
    std::string profile = {};

    /// With these bytes behind the palette.
    [[nodiscard]] std::string bytes(const std::string& pixels) const;
    /// The bytes of pixels that are not coded, `pixel(x, y)` each, from the top left on.
    [[nodiscard]] std::string rows(const std::function<std::uint32_t(int, int)>& pixel) const;
};

} // namespace lumivert::test
