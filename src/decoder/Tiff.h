#pragma once

#include "decoder/Containers.h"

#include <vips/vips8>

#include <cstdint>
#include <optional>
#include <vector>

namespace lumivert::decoder {

/// What libtiff reads of a TIFF's directories (TIFF 6.0, BigTIFF), of the first where nothing else
/// is said.
struct TiffFacts {
    /// Of a photometric interpretation that pictures have, the main one, and no camera's.
    bool isPicture = false;
    /// Of one that names its camera: how many pixels it has, which may be a thumbnail's.
    std::uint64_t cameraPixels = 0;
    bool isIccLab = false;
    /// Of pixels that libvips does not read, or for something else: see readTiffPixels().
    bool isForLibtiff = false;
    /// Samples at each pixel's end that are neither colours nor alpha.
    int maskSamples = 0;
    /// All rows, where the file has them one behind the other and as the machine would.
    ByteView rows;
    std::optional<Density> density;
    /// Where coded pixels lie, and TIFF's number of their coding.
    struct Coded {
        int compression = 0;
        std::uint64_t at = 0;
        std::uint64_t size = 0;
    };
    /// The tiles or strips of all directories of a DNG; none for any other file.
    std::vector<Coded> dngTiles;
};
[[nodiscard]] TiffFacts readTiff(ByteView bytes);

/// The stored pixels of a TIFF that isForLibtiff, with its orientation and its profile where
/// libvips's own readers put them: YCbCr that no JPEG codes as RGB of 8 bits; grey, RGB and CMYK of
/// up to 24 bits as 16 bits, their greatest number as 65535; half floats as floats. Alpha is not
/// premultiplied. Throws std::exception for all others and where libtiff cannot read them all.
[[nodiscard]] vips::VImage readTiffPixels(ByteView bytes);

} // namespace lumivert::decoder
