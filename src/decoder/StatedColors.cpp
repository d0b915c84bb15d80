#include "decoder/StatedColors.h"

#include "decoder/Profiles.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <libheif/heif.h>
#include <memory>
#include <vector>

namespace lumivert::decoder {
namespace {

using Chromaticities = std::array<double, 8>; // white, red, green, blue

constexpr double paperWhite = 203; // cd/m²
constexpr double sceneWhite = 1000;

std::optional<Chromaticities> chromaticitiesOf(int primaries) {
    constexpr double d65x = 0.3127;
    constexpr double d65y = 0.3290;
    switch (primaries) {
    case 1:
        return {{d65x, d65y, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06}};
    case 4:
        return {{0.310, 0.316, 0.67, 0.33, 0.21, 0.71, 0.14, 0.08}};
    case 5:
        return {{d65x, d65y, 0.64, 0.33, 0.29, 0.60, 0.15, 0.06}};
    case 6:
    case 7:
        return {{d65x, d65y, 0.630, 0.340, 0.310, 0.595, 0.155, 0.070}};
    case 9:
        return {{d65x, d65y, 0.708, 0.292, 0.170, 0.797, 0.131, 0.046}};
    case 11:
        return {{0.314, 0.351, 0.680, 0.320, 0.265, 0.690, 0.150, 0.060}};
    case 12:
        return {{d65x, d65y, 0.680, 0.320, 0.265, 0.690, 0.150, 0.060}};
    default:
        return std::nullopt;
    }
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

ToneCurve parametric(int type, std::vector<double> parameters) {
    return {cmsBuildParametricToneCurve(nullptr, type, parameters.data()), &cmsFreeToneCurve};
}

ToneCurve curveOf(const StatedColors& colors) {
    if (colors.gamma)
        return parametric(1, {1 / *colors.gamma});
    switch (colors.transfer) {
    case 1: // and the same curve by other names
    case 6:
    case 14:
    case 15:
        return parametric(4, {1 / 0.45, 1 / 1.099, 0.099 / 1.099, 1 / 4.5, 0.081});
    case 4:
        return parametric(1, {2.2});
    case 5:
        return parametric(1, {2.8});
    case 8:
        return parametric(1, {1});
    case 13:
        return srgbCurve();
    case 16:
    case 18: {
        std::vector<std::uint16_t> table(4096);
        for (std::size_t i = 0; i < table.size(); ++i) {
            const double value = static_cast<double>(i) / static_cast<double>(table.size() - 1);
            const double light = colors.transfer == 16 ? lightOfPq(value) : lightOfHlg(value);
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

std::uint32_t word(std::span<const std::byte> bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes[at + i]);
    return value;
}

} // namespace

std::optional<StatedColors> pngColors(std::span<const std::byte> bytes, bool isAboveProfile) {
    StatedColors byGamma;
    bool isSrgb = false;
    for (std::uint64_t at = 8; at + 12 <= bytes.size();) {
        const std::uint64_t length = word(bytes, at);
        if (length > bytes.size() - at - 12)
            break;
        const auto data = bytes.subspan(at + 8, length);
        const auto is = [&](const char* type, std::size_t size) {
            return std::memcmp(bytes.data() + at + 4, type, 4) == 0 && length >= size;
        };
        const auto fraction = [&](std::size_t index) { return word(data, 4 * index) / 100000.0; };
        if (is("IDAT", 0))
            break;
        // The third number, of a matrix, is 0 for RGB; the fourth 1 for the full range.
        if (is("cICP", 4)) {
            const StatedColors colors{std::to_integer<int>(data[0]), std::to_integer<int>(data[1])};
            if (data[2] == std::byte{0} && data[3] == std::byte{1} && !profileOf(colors, 3).empty())
                return colors;
        }
        isSrgb = isSrgb || is("sRGB", 1);
        if (is("gAMA", 4) && word(data, 0) > 0)
            byGamma.gamma = fraction(0);
        if (is("cHRM", 32)) {
            Chromaticities xy{};
            for (std::size_t i = 0; i < xy.size(); ++i)
                xy[i] = fraction(i);
            byGamma.chromaticities = xy;
        }
        at += 12 + length;
    }
    if (isAboveProfile)
        return std::nullopt;
    if (isSrgb)
        return StatedColors{1, 13};
    byGamma.primaries = 1;
    return byGamma.gamma ? std::optional(byGamma) : std::nullopt;
}

std::optional<StatedColors> heifColors(std::span<const std::byte> bytes) {
    const std::unique_ptr<heif_context, decltype(&heif_context_free)> context(heif_context_alloc(),
                                                                              &heif_context_free);
    heif_image_handle* found = nullptr;
    if (heif_context_read_from_memory_without_copy(context.get(), bytes.data(), bytes.size(),
                                                   nullptr)
                .code != heif_error_Ok ||
        heif_context_get_primary_image_handle(context.get(), &found).code != heif_error_Ok)
        return std::nullopt;
    const std::unique_ptr<heif_image_handle, decltype(&heif_image_handle_release)> handle(
        found, &heif_image_handle_release);
    heif_color_profile_nclx* stated = nullptr;
    if (heif_image_handle_get_nclx_color_profile(handle.get(), &stated).code != heif_error_Ok)
        return std::nullopt;
    const std::unique_ptr<heif_color_profile_nclx, decltype(&heif_nclx_color_profile_free)> nclx(
        stated, &heif_nclx_color_profile_free);
    return StatedColors{nclx->color_primaries, nclx->transfer_characteristics};
}

Bytes profileOf(const StatedColors& colors, int channels) {
    const auto xy =
        colors.chromaticities ? colors.chromaticities : chromaticitiesOf(colors.primaries);
    const ToneCurve curve = curveOf(colors);
    if (!xy || !curve || (channels != 1 && channels != 3))
        return {};
    const auto& [xw, yw, xr, yr, xg, yg, xb, yb] = *xy;
    const cmsCIExyY white{xw, yw, 1};
    const cmsCIExyYTRIPLE primaries{{xr, yr, 1}, {xg, yg, 1}, {xb, yb, 1}};
    const std::array curves{curve.get(), curve.get(), curve.get()};
    const Profile profile(channels == 1 ? cmsCreateGrayProfile(cmsD50_xyY(), curve.get())
                                        : cmsCreateRGBProfile(&white, &primaries, curves.data()));
    return profile ? madeBytes(profile, "As the photo states") : Bytes();
}

} // namespace lumivert::decoder
