#pragma once

#include "decoder/Photo.h"

namespace lumivert::decoder {

/// Develops a camera's sensor data with LibRaw: white balance as the camera chose it, 16 bits in
/// the wide-gamut space, or grey from a sensor without colours; at half size when that is enough
/// for the screen. Nothing where LibRaw does not know the file. See openPhoto().
[[nodiscard]] std::optional<Photo> openRaw(std::span<const std::byte> bytes,
                                           const OpenOptions& options);

} // namespace lumivert::decoder
