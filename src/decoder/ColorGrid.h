#pragma once

#include "decoder/ColorTransform.h"

namespace lumivert::decoder {

/// A conversion from three channels to 8 bits that evaluates each colour of a 256 x 256 x 256 grid
/// the first time a pixel asks for it. Pixels of 8 bits are grid points, so that they come out
/// exactly as `exact` has them. Those of 16 bits are interpolated between the four nearest points
/// (tetrahedral) of every fifth plane, or of every one, or evaluated themselves: a cell of five
/// planes a side is measured the first time a pixel falls into it, and its errors decide. A photo
/// has far fewer colours than pixels; neighbours in colour share a page of memory, and of the
/// 128 MiB only those in use are ever touched.
///
/// `exact` takes three channels of 16 bits and gives `outChannels` of 16 bits. Throws
/// std::bad_alloc.
[[nodiscard]] Convert colorGrid(Convert exact, int inBits, int outChannels);

} // namespace lumivert::decoder
