#pragma once

#include "platform/PdfPage.h"

#include <array>
#include <string>

namespace lumivert {

/// What Platform asks for as writePdf: object by object, so that a page of any size takes a few MiB
/// of memory. False as well where a file is there already. Any thread.
[[nodiscard]] bool writePdfPage(const std::string& path, const PdfPage& page);

/// The six numbers of a transformation, in the order of the operator cm.
using PdfMatrix = std::array<double, 6>;

/// The matrix that shows an image, stored with the EXIF `orientation` (1 to 8; anything else counts
/// as 1), upright in `rect`. (CIPA DC-008, tag 0x0112; ISO 32000-1, 8.9.5: an image fills the unit
/// square, its first row at the top.)
[[nodiscard]] PdfMatrix imagePlacement(RectPoints rect, int orientation);

} // namespace lumivert
