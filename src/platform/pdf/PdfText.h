#pragma once

#include "platform/Geometry.h"

#include <array>
#include <span>
#include <string>

namespace lumivert {

/// The largest magnitude that pdfNumber writes: every reader holds it, as an integer too
/// (ISO 32000-1, Annex C).
inline constexpr double largestPdfNumber = 2147483647.0;

/// Numbers nearer to zero than this are written as 0.
inline constexpr double smallestPdfNumber = 1e-12;

/// `value` as a PDF number: the shortest decimal that reads back as the same double, never with an
/// exponent, whatever the locale. Not a number gives 0, what is too large the nearest limit.
[[nodiscard]] std::string pdfNumber(double value);

/// The six numbers of a transformation, in the order of the operator cm.
using PdfMatrix = std::array<double, 6>;

/// The matrix that shows an image, stored with the EXIF `orientation` (1 to 8; anything else counts
/// as 1), upright in `rect`. (CIPA DC-008, tag 0x0112; ISO 32000-1, 8.9.5: an image fills the unit
/// square, its first row at the top.)
[[nodiscard]] PdfMatrix imagePlacement(RectPoints rect, int orientation);

/// Numbers separated by spaces.
[[nodiscard]] std::string pdfNumbers(std::span<const double> values);

} // namespace lumivert
