#pragma once

#include "decoder/Blocks.h"

#include <optional>

namespace lumivert::decoder {

/// Dots per inch along the stored axes.
struct Density {
    double x = 72;
    double y = 72;
};

/// The density when each axis is one that a photo can have; an axis that is not takes the other's.
[[nodiscard]] std::optional<Density> usableDensity(double x, double y);

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
};

/// Nothing where the bytes do not start as a JPEG with a frame.
[[nodiscard]] std::optional<JpegMarkers> readJpegMarkers(ByteView bytes);

/// Whether libjpeg reads the JPEG to its end, with every scan, and finds nothing that makes pixels
/// wrong. Any thread.
[[nodiscard]] bool isWholeJpeg(ByteView bytes);

} // namespace lumivert::decoder
