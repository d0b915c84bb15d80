#pragma once

#include "decoder/Jpeg.h"
#include "platform/Bytes.h"
#include "platform/Geometry.h"

#include <vips/vips8>

#include <optional>
#include <span>

namespace lumivert::decoder {

/// Of a sample: 8 or 16.
[[nodiscard]] inline int bitsOf(const vips::VImage& image) {
    return image.format() == VIPS_FORMAT_USHORT ? 16 : 8;
}

/// A photo opened for one pass over its pixels. The pixels are stored (not yet upright), of 1, 3 or
/// 4 channels (0 is no ink) or CIELAB, 8 or 16 bits in the machine's byte order, without alpha;
/// nothing is decoded before they are asked for, except camera RAW.
struct Photo {
    vips::VImage pixels;
    /// At its natural resolution; `pixels` may be smaller when it was opened for the screen.
    PixelSize storedSize;
    int orientation = 1;
    Density density;
    /// What the numbers mean; empty for plain device numbers.
    Bytes profile;
    /// Whether `pixels` can be asked for in any order, any number of times.
    bool isRandomAccess = false;
    /// The JPEG's markers when the numbers in its stream are those of `pixels`.
    std::optional<JpegMarkers> jpeg;
    /// See the protocol's Answer::rawWhite.
    double rawWhite = 0;

    [[nodiscard]] int channels() const { return pixels.bands(); }
    [[nodiscard]] int bits() const { return bitsOf(pixels); }
    [[nodiscard]] bool isLab() const;
    /// What paper is told of the numbers: CIELAB gets there as wide-gamut RGB.
    [[nodiscard]] const Bytes& paperProfile() const;
    [[nodiscard]] PixelSize uprightSize() const;
    /// The density along the upright axes.
    [[nodiscard]] Density uprightDensity() const;
};

struct OpenOptions {
    /// The longer edge that the pixels must at least keep, when the photo has it; nothing for the
    /// natural resolution.
    std::optional<int> screenEdge = std::nullopt;
    /// 0: find it.
    double rawWhite = 0;
};

/// `bytes` must outlive the photo. Nothing where they are no photo with pixels; throws
/// vips::VError and std::exception for the same.
[[nodiscard]] std::optional<Photo> openPhoto(std::span<const std::byte> bytes,
                                             const OpenOptions& options);

} // namespace lumivert::decoder
