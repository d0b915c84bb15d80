#pragma once

#include "decoder/Containers.h"

#include <vips/vips8>

/// Formats that libvips does not read from memory. Density and profile stand where its readers put
/// them. The readers throw std::exception for what is none of theirs and for what ends early.
namespace lumivert::decoder {

/// A Windows bitmap (BITMAPINFOHEADER to BITMAPV5HEADER) of 1 to 32 bits in RGB of 8, with alpha
/// where its masks have it. Unpacked as it is asked for from `file`, which must outlive it.
[[nodiscard]] vips::VImage readBmp(ByteView file);

/// The display window of an OpenEXR file's first part, grey or RGB of 16 bits: light from 0 to 1 by
/// sRGB's curve, on white, which also stands where the file has no pixels. The profile is that of
/// its chromaticities with this curve.
[[nodiscard]] vips::VImage readExr(ByteView file);

} // namespace lumivert::decoder
