#pragma once

#include "decoder/TestPhotos.h"

#include <iosfwd>

/// Photos of one colour, and what they come out as.
namespace lumivert::decoder::test {

using Pixel = std::vector<int>;

inline constexpr PixelSize small{16, 16};

/// Options for libvips, none yet.
[[nodiscard]] vips::VOption* options();

[[nodiscard]] vips::VImage plain16(const Pixel& pixel);
[[nodiscard]] vips::VImage plainFloat(const std::vector<double>& pixel, VipsInterpretation meaning);
[[nodiscard]] vips::VImage plainCmyk(const Pixel& inks);
/// The image with a profile to be embedded.
[[nodiscard]] vips::VImage tagged(vips::VImage image, const Bytes& profile);

/// A PNG with chunks, by their types and data, before its first IDAT.
[[nodiscard]] std::string pngWith(const std::string& png,
                                  const std::vector<std::pair<std::string, std::string>>& chunks);

/// A photo in the container of HEIF; nothing where libheif has no such encoder.
[[nodiscard]] std::optional<std::string> heif(VipsForeignHeifCompression compression);

/// The form of a file's pixels, and one of them. No channels for a file that does not open.
struct Outcome {
    int channels = 0;
    int bits = 0;
    Pixel pixel;

    bool operator==(const Outcome&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Outcome& outcome);

[[nodiscard]] Outcome outcome(const std::string& file, int x = 2, int y = 2);
void expectNear(const Outcome& got, const Outcome& expected, int tolerance);

} // namespace lumivert::decoder::test
