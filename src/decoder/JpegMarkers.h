#pragma once

#include "decoder/ExifReader.h"

#include <cstddef>
#include <optional>
#include <span>

namespace lumivert::decoder {

/// What the markers before a JPEG's first scan say, and whether its end is there (ITU-T T.81, annex
/// B; JFIF; Adobe TN 5116).
struct JpegMarkers {
    int width = 0;
    int height = 0;
    int components = 0;
    /// Whether every reader of JPEG in a PDF decodes it, and as it is meant: sequential or
    /// progressive Huffman coding of 8-bit samples, 1, 3 or 4 components, the colour transform
    /// told by a marker or by the usual default.
    bool embeddable = false;
    /// Whether an end of image (EOI) stands anywhere behind the start of the first scan. What a
    /// lost transfer filled up with zeros has none.
    bool hasEnd = false;
    /// CMYK stored the way Adobe's programs store it, 255 for no ink.
    bool inverted = false;
    std::optional<Density> jfifDensity;
    /// The first Exif segment; empty for none.
    std::span<const std::byte> exif;
};

/// Nothing where the bytes do not start as a JPEG with a frame.
[[nodiscard]] std::optional<JpegMarkers> readJpegMarkers(std::span<const std::byte> bytes);

} // namespace lumivert::decoder
