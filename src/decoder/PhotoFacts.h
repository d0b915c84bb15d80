#pragma once

#include "decoder/JpegMarkers.h"
#include "model/PhotoFormats.h"

#include <vips/vips8>

#include <cstddef>
#include <optional>
#include <span>

namespace lumivert::decoder {

/// By the first bytes alone; null for what none of the formats begins with.
[[nodiscard]] const PhotoFormat* formatOf(std::span<const std::byte> bytes);

/// What a file says about its photo beside the pixels. What is broken or missing is as if it were
/// not there.
struct PhotoFacts {
    /// EXIF orientation of the stored pixels; 1 where their reader turns them itself.
    int orientation = 1;
    Density density;
    /// Exif's interoperability index R03, or ColorSpace 2 as some cameras and programs write it:
    /// the photo is in Adobe RGB (1998).
    bool isAdobeRgb = false;
};

/// `image` is what libvips made of `bytes`; `jpeg` their markers where they are a JPEG.
[[nodiscard]] PhotoFacts readFacts(const PhotoFormat& format, std::span<const std::byte> bytes,
                                   const vips::VImage& image,
                                   const std::optional<JpegMarkers>& jpeg);

/// A TIFF that is an ordinary picture, not a camera's sensor data in TIFF clothes.
[[nodiscard]] bool isPlainTiff(std::span<const std::byte> bytes);

} // namespace lumivert::decoder
