#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lumivert::test {

/// A TIFF of any depth, written by libtiff.
struct DeepTiff {
    int width = 0;
    int height = 0;
    int samples = 3;
    /// Of a sample: 1 to 24.
    int bits = 12;
    /// Of half floats, by their bits.
    bool isFloat = false;
    /// Every pixel's samples, from the top left on.
    std::vector<std::uint32_t> values = {};
    /// TIFF's numbers.
    int photometric = 2;
    int compression = 1;
    int predictor = 1;
    bool isPlanar = false;
    /// In tiles of 16 x 16, else in strips of 3 rows.
    bool isTiled = false;
    bool isLittleEndian = true;
    /// Kinds of the samples beyond the colours.
    std::vector<std::uint16_t> extraSamples = {};
    int orientation = 1;
    std::string profile = {};

    /// Empty where libtiff cannot write it.
    [[nodiscard]] std::string bytes() const;
};

} // namespace lumivert::test
