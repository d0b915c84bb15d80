#pragma once

#include "decoder/Photo.h"
#include "decoder/Rendition.h"

#include <memory>
#include <optional>

namespace lumivert::decoder {

/// Rows ready to be evaluated once, top to bottom; 16-bit samples big-endian.
struct Rows {
    vips::VImage pixels;
    int channels = 0;
    int bits = 0;
    /// Memory that `pixels` looks at.
    std::shared_ptr<void> backing;
};

/// The part `crop` of the upright photo, in its own numbers or converted into `target`, 8 bits.
/// The photo must outlive the rows. Throws like openPhoto(), where `crop` is not inside the photo,
/// and where the target is no destination.
[[nodiscard]] Rows photoRows(const Photo& photo, PixelRect crop,
                             const std::optional<Paper>& target);

} // namespace lumivert::decoder
