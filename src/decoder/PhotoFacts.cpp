#include "decoder/PhotoFacts.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace lumivert::decoder {
namespace {

bool has(std::span<const std::byte> bytes, std::size_t at, const char* text, std::size_t length) {
    return bytes.size() >= at + length && std::memcmp(bytes.data() + at, text, length) == 0;
}

std::uint32_t bigEndian32(std::span<const std::byte> bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes[at + i]);
    return value;
}

// The pHYs chunk (PNG, 11.3.5.3); it stands before the first IDAT.
std::optional<Density> pngDensity(std::span<const std::byte> bytes) {
    for (std::uint64_t at = 8; at + 12 <= bytes.size();) {
        const std::uint32_t length = bigEndian32(bytes, at);
        if (has(bytes, at + 4, "IDAT", 4))
            return std::nullopt;
        if (has(bytes, at + 4, "pHYs", 4) && length == 9 && at + 17 <= bytes.size()) {
            if (bytes[at + 16] != std::byte{1})
                return std::nullopt; // an aspect ratio only
            constexpr double metresPerInch = 0.0254;
            return usableDensity(bigEndian32(bytes, at + 8) * metresPerInch,
                                 bigEndian32(bytes, at + 12) * metresPerInch);
        }
        at += 12 + std::uint64_t{length};
    }
    return std::nullopt;
}

// Photometric interpretations of pictures (TIFF 6.0); sensor data has 32803 or 34892.
bool isPlain(std::span<const std::byte> bytes, const ExifFacts& tiff) {
    const bool isCanonRaw = has(bytes, 8, "CR", 2);
    return tiff.photometric && *tiff.photometric <= 10 && !tiff.hasSubDirectories &&
           !tiff.hasDngVersion && !isCanonRaw && (tiff.subfileType.value_or(0) & 1) == 0;
}

} // namespace

Container containerOf(std::span<const std::byte> bytes) {
    if (has(bytes, 0, "\xff\xd8\xff", 3))
        return Container::jpeg;
    if (has(bytes, 0, "\x89PNG\r\n\x1a\n", 8))
        return Container::png;
    if (has(bytes, 0, "RIFF", 4) && has(bytes, 8, "WEBP", 4))
        return Container::webp;
    if (has(bytes, 0, "GIF8", 4))
        return Container::gif;
    if (has(bytes, 0, "II*\0", 4) || has(bytes, 0, "MM\0*", 4) || has(bytes, 0, "II+\0", 4) ||
        has(bytes, 0, "MM\0+", 4))
        return Container::tiff;
    if (has(bytes, 4, "ftyp", 4)) {
        constexpr std::array brands{"heic", "heix", "hevc", "heim", "heis",
                                    "mif1", "msf1", "avif", "avis"};
        for (const char* brand : brands)
            if (has(bytes, 8, brand, 4))
                return Container::heif;
    }
    return Container::other;
}

PhotoFacts readFacts(std::span<const std::byte> bytes, std::span<const std::byte> exif) {
    PhotoFacts facts;
    facts.container = containerOf(bytes);
    if (facts.container == Container::jpeg) {
        facts.jpeg = readJpegMarkers(bytes);
        if (facts.jpeg)
            exif = facts.jpeg->exif;
    }
    if (facts.container == Container::tiff)
        exif = bytes;
    const ExifFacts stated = readExif(exif);
    if (facts.container == Container::tiff)
        facts.isPlainTiff = isPlain(bytes, stated);
    // ISO/IEC 23008-12: turning is the container's own affair, Exif's word on it is ignored.
    if (facts.container != Container::heif)
        facts.orientation = stated.orientation.value_or(1);
    facts.adobeRgb = stated.adobeRgb;

    std::optional<Density> density;
    if (facts.container == Container::png)
        density = pngDensity(bytes);
    if (!density)
        density = stated.density;
    if (!density && facts.jpeg)
        density = facts.jpeg->jfifDensity;
    facts.density = density.value_or(Density{});
    return facts;
}

} // namespace lumivert::decoder
