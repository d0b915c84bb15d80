#pragma once

#include "decoder/Profiles.h"

#include <vips/vips8>

#include <cstdint>
#include <memory>

namespace lumivert::decoder {

/// How pixels lie: interleaved samples of 8 or 16 bits (the machine's byte order), or CIELAB as
/// 32-bit floats.
struct PixelLayout {
    int channels = 3;
    int bits = 8;
    bool isLab = false;
};

/// A conversion between colour spaces, through the full depth of what comes in. Any number of
/// threads at once.
class ColorTransform {
public:
    /// Black point compensation for all intents but absolute. Null where the profiles do not allow
    /// it. `intent` is ICC's number.
    [[nodiscard]] static std::shared_ptr<const ColorTransform>
    create(const Profile& from, PixelLayout in, const Profile& to, PixelLayout out,
           std::uint32_t intent);

    /// Into `paper` with `intent`, and from there to sRGB of 8 bits, the paper's white as the
    /// screen's white and its black as grey as it is.
    [[nodiscard]] static std::shared_ptr<const ColorTransform>
    createProof(const Profile& from, PixelLayout in, const Profile& paper, std::uint32_t intent);

    /// The image as it comes out; evaluated as it is asked for, by as many threads as ask.
    [[nodiscard]] static vips::VImage apply(std::shared_ptr<const ColorTransform> transform,
                                            const vips::VImage& image);

    void convert(const void* in, void* out, std::size_t pixels) const;

private:
    ColorTransform(cmsHTRANSFORM handle, PixelLayout out);

    std::unique_ptr<void, void (*)(cmsHTRANSFORM)> m_handle;
    PixelLayout m_out;
};

} // namespace lumivert::decoder
