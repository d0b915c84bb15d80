#pragma once

#include "decoder/Photo.h"

#include <vips/vips8>

#include <cstdint>
#include <optional>

namespace lumivert::decoder {

/// A profile and an intent (ICC's number) to show the photo through.
struct Paper {
    std::span<const std::byte> profile;
    std::uint32_t intent = 0;
};

/// The photo for the screen: upright, 3 channels of 8 bits in sRGB, the longer edge at most
/// `screenEdge`; through `paper`, where there is one, as it will look printed. Throws like
/// openPhoto(), and where the profile is none that paper can have.
[[nodiscard]] vips::VImage screenRendition(const Photo& photo, int screenEdge,
                                           const std::optional<Paper>& paper);

/// Writes the rendition's rows as words 0xffRRGGBB to `pixels`.
void writeWords(const vips::VImage& rendition, std::uint32_t* pixels);

} // namespace lumivert::decoder
