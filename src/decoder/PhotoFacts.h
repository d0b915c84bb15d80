#pragma once

#include "decoder/ExifReader.h"
#include "decoder/JpegMarkers.h"

#include <cstddef>
#include <optional>
#include <span>

namespace lumivert::decoder {

enum class Container { jpeg, png, webp, gif, tiff, heif, other };

/// By the first bytes alone.
[[nodiscard]] Container containerOf(std::span<const std::byte> bytes);

/// What a file says about its photo beside the pixels, read without any library.
struct PhotoFacts {
    Container container = Container::other;
    /// EXIF orientation of the stored pixels; 1 where the reader of the container turns them
    /// itself (HEIF).
    int orientation = 1;
    Density density;
    bool adobeRgb = false;
    std::optional<JpegMarkers> jpeg;
    /// A TIFF that is an ordinary picture, not a camera's sensor data in TIFF clothes.
    bool isPlainTiff = false;
};

/// `exif` is the block that a container other than JPEG and TIFF carries; empty for none.
[[nodiscard]] PhotoFacts readFacts(std::span<const std::byte> bytes,
                                   std::span<const std::byte> exif);

} // namespace lumivert::decoder
