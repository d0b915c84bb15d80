#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace lumivert::decoder {

/// Dots per inch along the stored axes.
struct Density {
    double x = 72;
    double y = 72;
};

/// What Exif (CIPA DC-008) or a TIFF file's first directory says about a photo. Everything that is
/// broken or missing stays unset.
struct ExifFacts {
    /// 1 to 8.
    std::optional<int> orientation;
    std::optional<Density> density;
    /// ColorSpace 65535 with interoperability index R03: the photo is in Adobe RGB (1998).
    bool adobeRgb = false;
    std::optional<std::uint32_t> photometric;
    std::optional<std::uint32_t> subfileType;
    bool hasSubDirectories = false;
    bool hasDngVersion = false;
};

/// Reads a TIFF structure (TIFF 6.0, BigTIFF), after "Exif\0\0" or not. Any bytes at all.
[[nodiscard]] ExifFacts readExif(std::span<const std::byte> bytes);

/// The density when each axis is one that a photo can have; an axis that is not takes the other's.
[[nodiscard]] std::optional<Density> usableDensity(double x, double y);

} // namespace lumivert::decoder
