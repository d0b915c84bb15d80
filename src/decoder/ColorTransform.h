#pragma once

#include "decoder/Profiles.h"

#include <vips/vips8>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace lumivert::decoder {

/// The way from one colour space to another, through paper or not.
struct ColorRoute {
    const Profile& from;
    const Profile& to;
    /// Null for straight; otherwise `intent` leads here and relative colorimetry from here to `to`.
    const Profile* paper = nullptr;
    /// ICC's number. Black point compensation for all but absolute.
    std::uint32_t intent = 0;
};

/// Converts whole pixels: interleaved samples of 8 or 16 bits in the machine's byte order; CIELAB
/// as ICC.1 version 4 encodes it, in 16 bits. Any number of threads at once.
using Convert = std::function<void(const void* in, void* out, std::size_t pixels)>;

/// Little CMS without the shortcuts that it takes by default: measured over random colours those
/// are up to 28/255 off for 16-bit sources and 15/255 for CMYK sources, this one never more than
/// rounding. A pixel costs 0.35 to 1 µs. No profile of the route may be null; throws
/// std::runtime_error where there is no way from one to the other.
[[nodiscard]] Convert exactConversion(const ColorRoute& route, int bitsIn, int bitsOut);

/// The image's colours converted, evaluated as they are asked for: those of 16 bits exactly, of 8
/// bits at the speed that photos need, at most 1/255 off what Little CMS computes in floating
/// point. Throws std::runtime_error where a profile is null or does not fit the image, where the
/// last one is of no device's numbers that paper has, and as above.
[[nodiscard]] vips::VImage converted(const vips::VImage& image, const ColorRoute& route, int bits);

} // namespace lumivert::decoder
