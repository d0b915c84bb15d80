#pragma once

#include "decoder/Photo.h"

#include <cstdint>

namespace lumivert::decoder {

/// How many pixels the sensor data has that LibRaw finds in a file; 0 where it finds none.
[[nodiscard]] std::uint64_t sensorPixels(std::span<const std::byte> bytes);

/// Develops a camera's sensor data with LibRaw: white balance as the camera chose it, 16 bits in
/// the wide-gamut space, or grey from a sensor without colours; at half size when that is enough
/// for the screen. Nothing where LibRaw does not know the file. See openPhoto().
[[nodiscard]] std::optional<Photo> openRaw(std::span<const std::byte> bytes,
                                           const OpenOptions& options);

} // namespace lumivert::decoder
