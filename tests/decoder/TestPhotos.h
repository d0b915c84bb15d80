#pragma once

#include "decoder/Photo.h"
#include "decoder/Rendition.h"
#include "platform/Bytes.h"
#include "platform/Geometry.h"

#include <vips/vips8>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace lumivert::decoder::test {

/// Exif or TIFF tags, and the bytes of a block that states them.
struct ExifBuilder {
    bool littleEndian = true;
    std::optional<std::uint16_t> orientation = std::nullopt;
    std::optional<std::pair<std::uint32_t, std::uint32_t>> xResolution = std::nullopt;
    std::optional<std::pair<std::uint32_t, std::uint32_t>> yResolution = std::nullopt;
    std::optional<std::uint16_t> resolutionUnit = std::nullopt;
    std::optional<std::uint16_t> colorSpace = std::nullopt;
    /// Four characters, "R03" and its NUL.
    std::string interoperabilityIndex = {};

    /// The TIFF structure, without "Exif\0\0".
    [[nodiscard]] std::string bytes() const;
};

/// `jpeg` with an Exif segment before all others.
[[nodiscard]] std::string withExif(const std::string& jpeg, const std::string& tiff);
/// `jpeg` without its segments of this marker (0xe0 is JFIF's).
[[nodiscard]] std::string withoutSegments(const std::string& jpeg, unsigned char marker);

/// An image of 8 or 16 bits from what `sample(x, y, band)` says.
[[nodiscard]] vips::VImage image8(PixelSize size, int bands,
                                  const std::function<int(int, int, int)>& sample);
[[nodiscard]] vips::VImage image16(PixelSize size, int bands,
                                   const std::function<int(int, int, int)>& sample);
/// Every pixel the same, 8 bits.
[[nodiscard]] vips::VImage plain8(PixelSize size, const std::vector<int>& pixel);

/// The file that libvips writes for a name such as ".png".
[[nodiscard]] std::string saved(const vips::VImage& image, const std::string& suffix,
                                vips::VOption* options = nullptr);

[[nodiscard]] std::span<const std::byte> asBytes(const std::string& text);
[[nodiscard]] Bytes fileBytes(const std::string& path);

/// What a photo's rows hold.
struct ReadRows {
    PixelSize size;
    int channels = 0;
    int bits = 0;
    Bytes profile;
    std::vector<std::byte> samples;

    /// A sample as a number; those of 16 bits are big-endian.
    [[nodiscard]] int at(int x, int y, int channel) const;
};

/// The rows of the whole photo, or of `crop`. Nothing where it does not decode.
[[nodiscard]] std::optional<ReadRows> readRows(const std::string& file,
                                               std::optional<PixelRect> crop = std::nullopt,
                                               const std::optional<Paper>& target = std::nullopt);

/// The rendition's words. Nothing where it does not decode.
struct ReadRendition {
    PixelSize size;
    std::vector<std::uint32_t> words;
};
[[nodiscard]] std::optional<ReadRendition>
readRendition(const std::string& file, int edge, const std::optional<Paper>& paper = std::nullopt);

} // namespace lumivert::decoder::test
