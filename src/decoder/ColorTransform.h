#pragma once

#include "decoder/Profiles.h"

#include <vips/vips8>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace lumivert::decoder {

/// How pixels lie: interleaved samples of 8 or 16 bits in the machine's byte order; CIELAB as ICC.1
/// version 4 encodes it, in 16 bits.
struct PixelLayout {
    int channels = 3;
    int bits = 8;
};

/// The way from one colour space to another, through paper or not.
struct ColorRoute {
    const Profile* from = nullptr;
    const Profile* to = nullptr;
    /// Null for straight; otherwise `intent` leads here and relative colorimetry from here to `to`.
    const Profile* paper = nullptr;
    /// ICC's number. Black point compensation for all but absolute.
    std::uint32_t intent = 0;
};

/// A conversion between colour spaces. Any number of threads at once.
class ColorTransform {
public:
    virtual ~ColorTransform() = default;

    /// At the speed that photos need, at most 1/255 off what Little CMS computes in floating point.
    /// Null where the profiles do not allow it.
    [[nodiscard]] static std::unique_ptr<const ColorTransform>
    create(const ColorRoute& route, PixelLayout in, PixelLayout out);

    /// Little CMS without the shortcuts that it takes by default: measured over random colours
    /// those are up to 28/255 off for 16-bit sources and 15/255 for CMYK sources, this one never
    /// more than rounding. A pixel costs 0.35 to 1 µs. Null as above.
    [[nodiscard]] static std::unique_ptr<const ColorTransform>
    createExact(const ColorRoute& route, PixelLayout in, PixelLayout out);

    /// The image as it comes out; evaluated as it is asked for, by as many threads as ask.
    [[nodiscard]] static vips::VImage apply(std::unique_ptr<const ColorTransform> transform,
                                            PixelLayout out, const vips::VImage& image);

    /// `in` and `out` hold `pixels` whole pixels of the layouts given to create().
    virtual void convert(const void* in, void* out, std::size_t pixels) const = 0;
};

} // namespace lumivert::decoder
