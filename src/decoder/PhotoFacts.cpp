#include "decoder/PhotoFacts.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>

namespace lumivert::decoder {
namespace {

constexpr double millimetresPerInch = 25.4;

bool beginsWith(ByteView bytes, std::string_view pattern) {
    return bytes.size() >= pattern.size() &&
           std::ranges::equal(
               pattern, asText(bytes).substr(0, pattern.size()),
               [](char wanted, char found) { return wanted == '?' || wanted == found; });
}

// The pHYs chunk (PNG, 11.3.5.3). Libvips keeps no difference between a density and a mere aspect
// ratio, nor between one pixel a millimetre and none stated.
std::optional<Density> pngDensity(ByteView bytes) {
    constexpr double metresPerInch = millimetresPerInch / 1000;
    for (const auto& [name, content] : pngChunks(bytes))
        if (name == "pHYs" && content.size() == 9 && content[8] == std::byte{1})
            return usableDensity(static_cast<double>(bigEndian(content, 0, 4)) * metresPerInch,
                                 static_cast<double>(bigEndian(content, 4, 4)) * metresPerInch);
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

const PhotoFormat* formatOf(ByteView bytes) {
    const auto found = std::ranges::find_if(photoFormats(), [&](const PhotoFormat& format) {
        return std::ranges::any_of(format.beginnings, [&](std::string_view beginning) {
            return beginsWith(bytes, beginning);
        });
    });
    return found == photoFormats().end() ? nullptr : &*found;
}

PhotoFacts readFacts(const PhotoFormat& format, ByteView bytes, const vips::VImage& image,
                     const std::optional<Density>& ofContainer) {
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
    if (format.density == DensityFrom::physThenExif)
        density = pngDensity(bytes);
    if (!density && format.density != DensityFrom::tiffTags)
        density = exifDensity(image);
    if (!density)
        density = ofContainer;
    facts.density = density.value_or(Density{});
    return facts;
}

} // namespace lumivert::decoder
