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
[[nodiscard]] int orientationOf(const PhotoFormat& format, const vips::VImage& image);

/// `ofContainer` is what a JPEG's JFIF or a TIFF's tags state. JPEG alone goes by Exif first.
[[nodiscard]] Density densityOf(const PhotoFormat& format, ByteView bytes,
                                const vips::VImage& image, std::optional<Density> ofContainer);

/// A profile for 1 or 3 channels of primaries and a transfer by ITU-T H.273, tables 2 and 3; empty
/// where they are not known. Light brighter than paper (PQ, HLG) is brought down to it by the curve
/// of ITU-R BT.2390, 5.4.1, in each channel: from 1000 cd/m², with 203 cd/m² (BT.2408) for a
/// paper's white.
[[nodiscard]] Bytes profileOf(int primaries, int transfer, int channels);

/// What the file says of its colours otherwise than by an ICC profile, in place of that which it
/// has, if any. Empty where it says nothing, or nothing whose meaning is known. PNG, 3rd edition,
/// 4.3: cICP, which stands above a profile, sRGB, gAMA with cHRM. HEIF: the main picture's colr box
/// of type nclx (ISO/IEC 23008-12). Exif: Adobe RGB (1998) by the interoperability index R03, or by
/// ColorSpace 2 as some cameras and programs write it.
[[nodiscard]] Bytes statedProfile(const PhotoFormat& format, ByteView bytes,
                                  const vips::VImage& image, int channels, bool hasProfile);

} // namespace lumivert::decoder
