#pragma once

#include "decoder/Photo.h"

namespace lumivert::decoder {

/// Opens JPEG, PNG, TIFF, WebP, GIF and HEIF (HEIC, AVIF) with libvips. Data that ends early is an
/// error when the pixels are asked for; a JPEG without any end of image is no photo, and one whose
/// scan is damaged an error as well. See openPhoto().
[[nodiscard]] std::optional<Photo> openWithVips(std::span<const std::byte> bytes,
                                                const OpenOptions& options);

} // namespace lumivert::decoder
