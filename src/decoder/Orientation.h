#pragma once

#include "platform/Geometry.h"

#include <vips/vips8>

/// EXIF orientations (CIPA DC-008, 4.6.5, tag 274): 1 to 8.
namespace lumivert::decoder {

/// Where the rectangle of the upright photo lies in the stored one.
[[nodiscard]] PixelRect storedRect(PixelRect upright, PixelSize stored, int orientation);

/// Whether turning asks for rows in another order than they are stored.
[[nodiscard]] bool needsRandomAccess(int orientation);

/// The stored pixels made upright.
[[nodiscard]] vips::VImage upright(const vips::VImage& stored, int orientation);

} // namespace lumivert::decoder
