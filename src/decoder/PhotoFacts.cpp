#include "decoder/PhotoFacts.h"

#include "decoder/CodePoints.h"
#include "platform/decoder/DecoderProtocol.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <jxl/decode.h>
#include <jxl/version.h>
#include <libheif/heif_cxx.h>
#include <memory>
#include <string>
#include <zlib.h>

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

// The eXIf chunk may stand behind the pixels, where libvips does not look.
int pngOrientation(ByteView bytes) {
    for (const auto& [name, exif] : pngChunks(bytes, true)) {
        if (name != "eXIf")
            continue;
        const bool isLittle = asText(part(exif, 0, 2)) == "II";
        const auto number = [&, tiff = exif](std::uint64_t at, std::size_t size) {
            return isLittle ? littleEndian(tiff, at, size) : bigEndian(tiff, at, size);
        };
        const std::uint64_t directory = number(4, 4);
        for (std::uint64_t i = 0; i < number(directory, 2); ++i)
            if (const auto at = directory + 2 + 12 * i; number(at, 2) == 0x112)
                return number(at + 8, 2) <= 8 ? std::max(1, static_cast<int>(number(at + 8, 2)))
                                              : 1;
    }
    return 1;
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

// What libpng leaves out where the file calls itself sRGB before (PNG, 11.3.2.3).
Bytes unpackedProfile(ByteView chunk) {
    const auto packedAt = asText(chunk).find('\0') + 2; // behind a name and the method
    const ByteView packed = part(chunk, packedAt);
    Bytes profile(protocol::maximumProfileBytes);
    auto size = static_cast<uLongf>(profile.size());
    const int result = ::uncompress(reinterpret_cast<Bytef*>(profile.data()), &size,
                                    reinterpret_cast<const Bytef*>(packed.data()), packed.size());
    profile.resize(result == Z_OK ? size : 0);
    return profile;
}

Bytes pngProfile(ByteView file, int channels, bool hasProfile) {
    ByteView packed;
    bool isSrgb = false;
    double gamma = 0; // of the file's numbers: 0.45455 and the like
    Chromaticities colors = *chromaticitiesOf(1);
    for (const auto& [name, data] : pngChunks(file)) {
        const auto fraction = [&](std::size_t index) {
            return static_cast<double>(bigEndian(data, 4 * index, 4)) / 100000;
        };
        // The third number, of a matrix, is 0 for RGB; the fourth 1 for the full range.
        if (name == "cICP" && data.size() >= 4 && bigEndian(data, 2, 2) == 1)
            if (Bytes profile = profileOf(std::to_integer<int>(data[0]),
                                          std::to_integer<int>(data[1]), channels);
                !profile.empty())
                return profile;
        if (name == "iCCP" && packed.empty())
            packed = data;
        isSrgb = isSrgb || (name == "sRGB" && !data.empty());
        if (name == "gAMA")
            gamma = fraction(0);
        if (name == "cHRM" && data.size() >= 32)
            for (std::size_t i = 0; i < colors.size(); ++i)
                colors[i] = fraction(i);
    }
    if (hasProfile)
        return {};
    if (!packed.empty())
        if (Bytes profile = unpackedProfile(packed); describes(profile, channels))
            return profile;
    if (!isSrgb && gamma <= 0)
        return {};
    return isSrgb ? profileOf(1, 13, channels)
                  : profileWith(colors, parametricCurve(1, {1 / gamma}), channels);
}

Bytes heifProfile(ByteView file, int channels) try {
    heif::Context context;
    context.read_from_memory_without_copy(file.data(), file.size());
    const heif::ImageHandle picture = context.get_primary_image_handle();
    heif_color_profile_nclx* stated = nullptr;
    if (heif_image_handle_get_nclx_color_profile(picture.get_raw_image_handle(), &stated).code !=
        heif_error_Ok)
        return {};
    const std::unique_ptr<heif_color_profile_nclx, decltype(&heif_nclx_color_profile_free)> nclx(
        stated, &heif_nclx_color_profile_free);
    return profileOf(nclx->color_primaries, nclx->transfer_characteristics, channels);
} catch (const heif::Error&) {
    return {};
}

Bytes jxlProfile(ByteView file, int channels) {
    const std::unique_ptr<JxlDecoder, decltype(&JxlDecoderDestroy)> decoder(
        JxlDecoderCreate(nullptr), &JxlDecoderDestroy);
    JxlColorEncoding stated{};
    const auto isStated = [&] {
#if JPEGXL_NUMERIC_VERSION < JPEGXL_COMPUTE_NUMERIC_VERSION(0, 9, 0)
        return JxlDecoderGetColorAsEncodedProfile(decoder.get(), nullptr,
                                                  JXL_COLOR_PROFILE_TARGET_DATA, &stated);
#else
        return JxlDecoderGetColorAsEncodedProfile(decoder.get(), JXL_COLOR_PROFILE_TARGET_DATA,
                                                  &stated);
#endif
    };
    if (JxlDecoderSubscribeEvents(decoder.get(), JXL_DEC_COLOR_ENCODING) != JXL_DEC_SUCCESS ||
        JxlDecoderSetInput(decoder.get(), reinterpret_cast<const std::uint8_t*>(file.data()),
                           file.size()) != JXL_DEC_SUCCESS ||
        JxlDecoderProcessInput(decoder.get()) != JXL_DEC_COLOR_ENCODING ||
        isStated() != JXL_DEC_SUCCESS ||
        (stated.transfer_function != JXL_TRANSFER_FUNCTION_PQ &&
         stated.transfer_function != JXL_TRANSFER_FUNCTION_HLG))
        return {};
    const auto& [xw, yw] = stated.white_point_xy;
    const auto& [xr, yr] = stated.primaries_red_xy;
    const auto& [xg, yg] = stated.primaries_green_xy;
    const auto& [xb, yb] = stated.primaries_blue_xy;
    // The transfers have the numbers of H.273.
    return profileOf({xw, yw, xr, yr, xg, yg, xb, yb}, stated.transfer_function, channels);
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

int orientationOf(const PhotoFormat& format, ByteView bytes, const vips::VImage& image) {
    if (format.kind == PhotoKind::png && image.get_typeof(VIPS_META_ORIENTATION) == 0)
        return pngOrientation(bytes);
    const bool isStated =
        !format.isTurnedByReader && image.get_typeof(VIPS_META_ORIENTATION) == G_TYPE_INT;
    const int stated = isStated ? image.get_int(VIPS_META_ORIENTATION) : 1;
    return stated >= 1 && stated <= 8 ? stated : 1;
}

Density densityOf(const PhotoFormat& format, ByteView bytes, const vips::VImage& image,
                  std::optional<Density> ofContainer) {
    if (format.kind == PhotoKind::png)
        ofContainer = pngDensity(bytes);
    else if (format.kind == PhotoKind::bmp || format.kind == PhotoKind::exr)
        ofContainer =
            usableDensity(image.xres() * millimetresPerInch, image.yres() * millimetresPerInch);
    const std::optional<Density> exif = exifDensity(image);
    const bool isExifFirst = format.kind == PhotoKind::jpeg && exif;
    return isExifFirst ? *exif : ofContainer ? *ofContainer : exif.value_or(Density{});
}

Bytes statedProfile(const PhotoFormat& format, ByteView bytes, const vips::VImage& image,
                    int channels, bool hasProfile) {
    if (format.kind == PhotoKind::png)
        if (Bytes stated = pngProfile(bytes, channels, hasProfile); !stated.empty())
            return stated;
    if (format.kind == PhotoKind::jxl)
        return jxlProfile(bytes, channels);
    if (hasProfile)
        return {};
    if (format.kind == PhotoKind::heic || format.kind == PhotoKind::avif)
        if (Bytes stated = heifProfile(bytes, channels); !stated.empty())
            return stated;
    const double space = numberOf(textOf(image, "exif-ifd2-ColorSpace"));
    const bool isAdobeRgb =
        space == 2 ||
        (space == 65535 && textOf(image, "exif-ifd4-InteroperabilityIndex").starts_with("R03"));
    return isAdobeRgb && channels == 3 ? adobeRgbBytes() : Bytes();
}

} // namespace lumivert::decoder
