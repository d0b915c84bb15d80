#pragma once

#include "decoder/Photo.h"

#include <vips/vips8>

#include <cstdint>
#include <optional>

/// A photo as it leaves the decoder: upright, for the screen or for paper.
namespace lumivert::decoder {

/// A profile and an intent (ICC's number) of paper.
struct Paper {
    std::span<const std::byte> profile;
    std::uint32_t intent = 0;
};

/// 3 channels of 8 bits in sRGB, the longer edge at most `screenEdge`; through `paper`, where there
/// is one, as it will look printed. Throws like openPhoto(), and where the profile is none that
/// paper can have.
[[nodiscard]] vips::VImage screenRendition(const Photo& photo, int screenEdge,
                                           const std::optional<Paper>& paper);

/// Writes the rendition's rows as words 0xffRRGGBB to `pixels`.
void writeWords(const vips::VImage& rendition, std::uint32_t* pixels);

/// The part `crop` of the upright photo, in its own numbers or converted into `target`, 8 bits; to
/// be evaluated once, top to bottom. 16-bit samples are big-endian. The photo must outlive it.
/// Throws like openPhoto(), where `crop` is not inside the photo, and where the target is no
/// destination.
[[nodiscard]] vips::VImage paperRows(const Photo& photo, PixelRect crop,
                                     const std::optional<Paper>& target);

} // namespace lumivert::decoder
