#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace lumivert::test {

/// A camera's RAW: a digital negative (DNG 1.4), or a file of a maker's own built on TIFF.
struct SensorPhoto {
    enum Filters {
        bayer,  ///< one sample a pixel: red, green, green, blue by twos
        xTrans, ///< one sample a pixel, by sixes
        linear, ///< red, green and blue of every pixel
        /// Every sample is the middle one of `light`; sensitivity and lamp play no part.
        monochrome,
    };
    enum Coding {
        words,        ///< of 16 bits
        packed,       ///< rows of fewer than 16 bits, from the most significant on
        losslessJpeg, ///< ITU-T T.81, annex H, with the first predictor
    };

    /// All but the first have no matrix and no levels.
    enum Container {
        dng,
        plain,          ///< sensor data in the first directory
        ownMagic,       ///< the same, with a maker's letters where TIFF has its number
        nextDirectory,  ///< behind a thumbnail that does not say it is one
        belowDirectory, ///< below one
    };

    int width = 0; // even, as is the height
    int height = 0;
    int orientation = 1; // by EXIF
    /// The light at a pixel: linear, of the primaries and the white of sRGB. 1 is
    /// what the sensor just holds; a sample ends there.
    std::function<std::array<double, 3>(int x, int y)> light{};
    /// What the camera's red, green and blue make of daylight (D65).
    std::array<double, 3> sensitivity{1, 1, 1};
    /// By how much the light was of another colour; the camera states it in its white balance.
    std::array<double, 3> lamp{1, 1, 1};
    /// How much wider than high a pixel is: DefaultScale, thousandths. 1 is not written.
    double pixelAspect = 1;
    Filters filters = bayer;
    Coding coding = words;
    /// Of a sample: 12, 14 or 16. Black is 1/128 of their range, white 125/128.
    int bits = 14;

    Container container = dng;

    [[nodiscard]] std::string bytes() const;
};

} // namespace lumivert::test
