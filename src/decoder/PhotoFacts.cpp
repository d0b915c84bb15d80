#include "decoder/PhotoFacts.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <libheif/heif_cxx.h>
#include <map>
#include <memory>
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

constexpr double paperWhite = 203; // cd/m²
constexpr double sceneWhite = 1000;

// ITU-T H.273, table 2; null for what has no number here.
const Chromaticities* chromaticitiesOf(int primaries) {
    constexpr double x = 0.3127; // D65
    constexpr double y = 0.3290;
    static const std::map<int, Chromaticities> known{
        {1, {x, y, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06}},
        {4, {0.310, 0.316, 0.67, 0.33, 0.21, 0.71, 0.14, 0.08}},
        {5, {x, y, 0.64, 0.33, 0.29, 0.60, 0.15, 0.06}},
        {6, {x, y, 0.630, 0.340, 0.310, 0.595, 0.155, 0.070}},
        {7, {x, y, 0.630, 0.340, 0.310, 0.595, 0.155, 0.070}},
        {9, {x, y, 0.708, 0.292, 0.170, 0.797, 0.131, 0.046}},
        {11, {0.314, 0.351, 0.680, 0.320, 0.265, 0.690, 0.150, 0.060}},
        {12, {x, y, 0.680, 0.320, 0.265, 0.690, 0.150, 0.060}}};
    const auto found = known.find(primaries);
    return found == known.end() ? nullptr : &found->second;
}

// SMPTE ST 2084, in cd/m².
constexpr double m1 = 2610.0 / 16384;
constexpr double m2 = 2523.0 / 32;
constexpr double c1 = 3424.0 / 4096;
constexpr double c2 = 2413.0 / 128;
constexpr double c3 = 2392.0 / 128;

double lightOfPq(double value) {
    const double root = std::pow(value, 1 / m2);
    return 10000 * std::pow(std::max(root - c1, 0.0) / (c2 - c3 * root), 1 / m1);
}

double pqOfLight(double light) {
    const double root = std::pow(light / 10000, m1);
    return std::pow((c1 + c2 * root) / (1 + c3 * root), m2);
}

// BT.2100, table 5; the system's gamma of 1.2 for a screen of 1000 cd/m², in each channel.
double lightOfHlg(double value) {
    constexpr double a = 0.17883277;
    constexpr double b = 0.28466892;
    constexpr double c = 0.55991073;
    const double scene = value <= 0.5 ? value * value / 3 : (std::exp((value - c) / a) + b) / 12;
    return sceneWhite * std::pow(scene, 1.2);
}

// BT.2390-11, 5.4.1, black at 0; 1 is the paper's white.
double onPaper(double light) {
    const double most = pqOfLight(sceneWhite);
    const double target = pqOfLight(paperWhite) / most;
    const double knee = 1.5 * target - 0.5;
    const double value = std::min(pqOfLight(light) / most, 1.0);
    double mapped = value;
    if (value > knee) {
        const double t = (value - knee) / (1 - knee);
        mapped = (2 * t * t * t - 3 * t * t + 1) * knee + (t * t * t - 2 * t * t + t) * (1 - knee) +
                 (-2 * t * t * t + 3 * t * t) * target;
    }
    return std::min(lightOfPq(mapped * most) / paperWhite, 1.0);
}

ToneCurve curveOf(int transfer) {
    switch (transfer) {
    case 1: // and the same curve by other names
    case 6:
    case 14:
    case 15:
        return parametricCurve(4, {1 / 0.45, 1 / 1.099, 0.099 / 1.099, 1 / 4.5, 0.081});
    case 4:
        return parametricCurve(1, {2.2});
    case 5:
        return parametricCurve(1, {2.8});
    case 8:
        return parametricCurve(1, {1});
    case 13:
        return srgbCurve();
    case 16:
    case 18: {
        std::vector<std::uint16_t> table(4096);
        for (std::size_t i = 0; i < table.size(); ++i) {
            const double value = static_cast<double>(i) / static_cast<double>(table.size() - 1);
            const double light = transfer == 16 ? lightOfPq(value) : lightOfHlg(value);
            table[i] = static_cast<std::uint16_t>(std::lround(65535 * onPaper(light)));
        }
        return {cmsBuildTabulatedToneCurve16(nullptr, static_cast<cmsUInt32Number>(table.size()),
                                             table.data()),
                &cmsFreeToneCurve};
    }
    default:
        return {nullptr, &cmsFreeToneCurve};
    }
}

Bytes profileWith(const Chromaticities& colors, const ToneCurve& curve, int channels) {
    constexpr const char* name = "As the photo states";
    return channels == 3   ? rgbBytes(colors, curve, name)
           : channels == 1 ? greyBytes(curve, name)
                           : Bytes();
}

Bytes pngProfile(ByteView file, int channels, bool isAboveProfile) {
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
        isSrgb = isSrgb || (name == "sRGB" && !data.empty());
        if (name == "gAMA")
            gamma = fraction(0);
        if (name == "cHRM" && data.size() >= 32)
            for (std::size_t i = 0; i < colors.size(); ++i)
                colors[i] = fraction(i);
    }
    if (isAboveProfile || (!isSrgb && gamma <= 0))
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

} // namespace

const PhotoFormat* formatOf(ByteView bytes) {
    const auto found = std::ranges::find_if(photoFormats(), [&](const PhotoFormat& format) {
        return std::ranges::any_of(format.beginnings, [&](std::string_view beginning) {
            return beginsWith(bytes, beginning);
        });
    });
    return found == photoFormats().end() ? nullptr : &*found;
}

int orientationOf(const PhotoFormat& format, const vips::VImage& image) {
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

Bytes profileOf(int primaries, int transfer, int channels) {
    const auto colors = chromaticitiesOf(primaries);
    const ToneCurve curve = curveOf(transfer);
    return colors && curve ? profileWith(*colors, curve, channels) : Bytes();
}

Bytes statedProfile(const PhotoFormat& format, ByteView bytes, const vips::VImage& image,
                    int channels, bool hasProfile) {
    if (format.kind == PhotoKind::png)
        if (Bytes stated = pngProfile(bytes, channels, hasProfile); !stated.empty())
            return stated;
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
