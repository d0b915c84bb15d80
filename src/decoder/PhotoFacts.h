#pragma once

#include "decoder/Containers.h"
#include "decoder/Profiles.h"
#include "model/PhotoFormats.h"

#include <vips/vips8>

#include <optional>

namespace lumivert::decoder {

/// By the first bytes alone; null for what none of the formats begins with.
[[nodiscard]] const PhotoFormat* formatOf(ByteView bytes);

// What a file says about its photo beside the pixels; what is broken or missing is as if it were
// not there. `image` is what libvips made of the file.

/// EXIF orientation of the stored pixels; 1 where their reader turns them itself.
[[nodiscard]] int orientationOf(const PhotoFormat& format, ByteView bytes,
                                const vips::VImage& image);

/// `ofContainer` is what a JPEG's JFIF or a TIFF's tags state. JPEG alone goes by Exif first.
[[nodiscard]] Density densityOf(const PhotoFormat& format, ByteView bytes,
                                const vips::VImage& image, std::optional<Density> ofContainer);

/// What the file says of its colours otherwise than by an ICC profile, in place of that which it
/// has, if any. Empty where it says nothing, or nothing whose meaning is known. PNG, 3rd edition,
/// 4.3: cICP, which stands above a profile, sRGB, gAMA with cHRM. HEIF: the main picture's colr box
/// of type nclx (ISO/IEC 23008-12). JPEG XL: PQ and HLG, of which its reader makes a profile that
/// ends at no paper's white. Exif: Adobe RGB (1998) by the interoperability index R03, or by
/// ColorSpace 2 as some cameras and programs write it.
[[nodiscard]] Bytes statedProfile(const PhotoFormat& format, ByteView bytes,
                                  const vips::VImage& image, int channels, bool hasProfile);

} // namespace lumivert::decoder
