#pragma once

#include "decoder/ColorTransform.h"

namespace lumivert::decoder {

/// A conversion from three channels of 8 bits that evaluates each of the 256 x 256 x 256 colours
/// the first time a pixel asks for it, so that all come out exactly as `exact` has them. A photo
/// has far fewer colours than pixels; neighbours in colour share a page of memory, and of the 64
/// MiB only those in use are ever touched. Throws std::bad_alloc.
///
/// `exact` takes three channels of 8 bits and gives `outChannels` of 8 bits.
[[nodiscard]] Convert colorTable(const Convert& exact, int outChannels);

/// A conversion from three channels of 16 bits to 8, interpolated between the four nearest points
/// (tetrahedral) of every fifth plane of such a grid, or of every one, or evaluated: a cell of five
/// planes a side, and one of one, is measured the first time a pixel falls into it, and says of
/// each of its tetrahedra whether that may be interpolated. Of 144 MiB only what is in use is ever
/// touched. Throws std::bad_alloc and what `exactConversion` does. None for a conversion that jumps
/// from colour to colour, most of which would have to be evaluated.
[[nodiscard]] Convert colorGrid(const ColorRoute& route);

} // namespace lumivert::decoder
