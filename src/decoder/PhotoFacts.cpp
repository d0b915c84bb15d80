#include "decoder/PhotoFacts.h"

#include "decoder/TiffFile.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>

namespace lumivert::decoder {
namespace {

constexpr double millimetresPerInch = 25.4;

bool beginsWith(std::span<const std::byte> bytes, std::string_view pattern) {
    if (bytes.size() < pattern.size())
        return false;
    for (std::size_t i = 0; i < pattern.size(); ++i)
        if (pattern[i] != '?' && std::to_integer<char>(bytes[i]) != pattern[i])
            return false;
    return true;
}

std::uint32_t bigEndian32(std::span<const std::byte> bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes[at + i]);
    return value;
}

// The pHYs chunk (PNG, 11.3.5.3); it stands before the first IDAT. Libvips keeps no difference
// between a density and a mere aspect ratio, nor between one pixel a millimetre and none stated.
std::optional<Density> pngDensity(std::span<const std::byte> bytes) {
    for (std::uint64_t at = 8; at + 12 <= bytes.size();) {
        const std::uint32_t length = bigEndian32(bytes, at);
        const auto type = bytes.subspan(at + 4);
        if (beginsWith(type, "IDAT"))
            return std::nullopt;
        if (beginsWith(type, "pHYs") && length == 9 && at + 17 <= bytes.size()) {
            if (bytes[at + 16] != std::byte{1})
                return std::nullopt; // an aspect ratio only
            constexpr double metresPerInch = millimetresPerInch / 1000;
            return usableDensity(bigEndian32(bytes, at + 8) * metresPerInch,
                                 bigEndian32(bytes, at + 12) * metresPerInch);
        }
        at += 12 + std::uint64_t{length};
    }
    return std::nullopt;
}

std::string textOf(const vips::VImage& image, const char* field) {
    return image.get_typeof(field) == VIPS_TYPE_REF_STRING ? image.get_string(field) : "";
}

// Libvips's text of a tag: "300/1 (300, Rational, 1 components, 8 bytes)". 0 for none.
double numberOf(const std::string& text) {
    const char* const end = text.data() + text.size();
    std::uint32_t numerator = 0;
    std::uint32_t denominator = 1;
    const auto [after, failed] = std::from_chars(text.data(), end, numerator);
    if (failed == std::errc() && after != end && *after == '/')
        std::from_chars(after + 1, end, denominator);
    return denominator == 0 ? 0 : static_cast<double>(numerator) / denominator;
}

// Where Exif states none, libvips puts in its own default of one pixel a millimetre, or what the
// JPEG's first segment says.
std::optional<Density> exifDensity(const vips::VImage& image) {
    const double unit = numberOf(textOf(image, "exif-ifd0-ResolutionUnit"));
    const double perInch = unit == 3 ? 2.54 : 1;
    const double x = numberOf(textOf(image, "exif-ifd0-XResolution"));
    const double y = numberOf(textOf(image, "exif-ifd0-YResolution"));
    if ((unit != 2 && unit != 3) || (x == millimetresPerInch && y == millimetresPerInch))
        return std::nullopt;
    return usableDensity(x * perInch, y * perInch);
}

} // namespace

const PhotoFormat* formatOf(std::span<const std::byte> bytes) {
    const auto found = std::ranges::find_if(photoFormats(), [&](const PhotoFormat& format) {
        return std::ranges::any_of(format.beginnings, [&](std::string_view beginning) {
            return beginsWith(bytes, beginning);
        });
    });
    return found == photoFormats().end() ? nullptr : &*found;
}

PhotoFacts readFacts(const PhotoFormat& format, std::span<const std::byte> bytes,
                     const vips::VImage& image, const std::optional<JpegMarkers>& jpeg) {
    PhotoFacts facts;
    if (format.upright == UprightBy::exif && image.get_typeof("orientation") == G_TYPE_INT)
        facts.orientation = image.get_int("orientation");
    if (facts.orientation < 1 || facts.orientation > 8)
        facts.orientation = 1;
    const double colorSpace = numberOf(textOf(image, "exif-ifd2-ColorSpace"));
    facts.isAdobeRgb =
        colorSpace == 2 || (colorSpace == 65535 &&
                            textOf(image, "exif-ifd4-InteroperabilityIndex").starts_with("R03"));

    std::optional<Density> density;
    switch (format.density) {
    case DensityFrom::tiffTags:
        density = TiffFile(bytes).density();
        break;
    case DensityFrom::physThenExif:
        density = pngDensity(bytes);
        break;
    case DensityFrom::exif:
    case DensityFrom::exifThenJfif:
        break;
    }
    if (!density && format.density != DensityFrom::tiffTags)
        density = exifDensity(image);
    if (!density && jpeg && format.density == DensityFrom::exifThenJfif)
        density = jpeg->jfifDensity;
    facts.density = density.value_or(Density{});
    return facts;
}

bool isPlainTiff(std::span<const std::byte> bytes) {
    const bool isCanonRaw = bytes.size() > 8 && beginsWith(bytes.subspan(8), "CR");
    return !isCanonRaw && TiffFile(bytes).isPicture();
}

} // namespace lumivert::decoder
