#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace lumivert::test {

/// A digital negative (DNG 1.4) as a camera with a Bayer sensor writes it: one sample of 16 bits a
/// pixel, red, green, green, blue by twos, not compressed. Or as one without colour filters does.
struct SensorPhoto {
    int width = 0; // even, as is the height
    int height = 0;
    int orientation = 1; // by EXIF
    /// The light at a pixel: linear, of the primaries and the white of sRGB, 0 to 1.
    std::function<std::array<double, 3>(int x, int y)> light{};
    /// What the camera's red, green and blue make of daylight (D65).
    std::array<double, 3> sensitivity{1, 1, 1};
    /// By how much the light was of another colour; the camera states it in its white balance.
    std::array<double, 3> lamp{1, 1, 1};
    /// How much wider than high a pixel is: DefaultScale, thousandths. 1 is not written.
    double pixelAspect = 1;
    /// Without filters every sample is the middle one of `light`; sensitivity and lamp play no
    /// part.
    bool isMonochrome = false;

    [[nodiscard]] std::string bytes() const;
};

} // namespace lumivert::test
