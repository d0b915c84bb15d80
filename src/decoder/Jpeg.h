#pragma once

#include "decoder/Containers.h"

#include <optional>

namespace lumivert::decoder {

/// What the markers before a JPEG's first scan say (ITU-T T.81, annex B; JFIF; Adobe TN 5116).
struct JpegMarkers {
    int components = 0;
    /// Whether every reader of JPEG in a PDF decodes it, and as it is meant: sequential or
    /// progressive Huffman coding of 8-bit samples, 1, 3 or 4 components, the colour transform
    /// told by a marker or by the usual default.
    bool embeddable = false;
    /// CMYK stored the way Adobe's programs store it, 255 for no ink.
    bool inverted = false;
    std::optional<Density> jfifDensity;
};

/// Nothing where libjpeg finds no frame that it decodes.
[[nodiscard]] std::optional<JpegMarkers> readJpegMarkers(ByteView bytes);

/// Whether libjpeg reads the JPEG to its end, with every scan, and finds nothing that makes pixels
/// wrong. Any thread.
[[nodiscard]] bool isWholeJpeg(ByteView bytes);

} // namespace lumivert::decoder
