#pragma once

#include "decoder/Containers.h"
#include "model/PhotoFormats.h"

#include <vips/vips8>

#include <optional>

namespace lumivert::decoder {

/// By the first bytes alone; null for what none of the formats begins with.
[[nodiscard]] const PhotoFormat* formatOf(ByteView bytes);

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

/// `image` is what libvips made of `bytes`; `ofContainer` what a JPEG's JFIF or a TIFF's tags
/// state.
[[nodiscard]] PhotoFacts readFacts(const PhotoFormat& format, ByteView bytes,
                                   const vips::VImage& image,
                                   const std::optional<Density>& ofContainer);

} // namespace lumivert::decoder
