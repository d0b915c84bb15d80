#pragma once

#include "platform/Bytes.h"
#include "platform/Geometry.h"

namespace lumivert {

/// A baseline JPEG of interleaved 8-bit samples, 1 (grey), 3 (RGB) or 4 (CMYK as given) channels,
/// without subsampling, of the highest quality.
[[nodiscard]] Bytes jpegOf(PixelSize size, int channels, const Bytes& samples);

} // namespace lumivert
