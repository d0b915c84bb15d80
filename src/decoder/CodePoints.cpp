#include "decoder/CodePoints.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>

namespace lumivert::decoder {
namespace {

constexpr double paperWhite = 203; // cd/m²
constexpr double sceneWhite = 1000;

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
        // Straight from step to step these are 0.005 L* off at most; rounded to 16 bits, with
        // however many steps, 0.007.
        std::vector<std::uint16_t> table(256);
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

} // namespace

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

Bytes profileWith(const Chromaticities& colors, const ToneCurve& curve, int channels) {
    constexpr const char* name = "As the photo states";
    return channels == 3   ? rgbBytes(colors, curve, name)
           : channels == 1 ? greyBytes(curve, name)
                           : Bytes();
}

Bytes profileOf(int primaries, int transfer, int channels) {
    const Chromaticities* const colors = chromaticitiesOf(primaries);
    return colors ? profileOf(*colors, transfer, channels) : Bytes();
}

Bytes profileOf(const Chromaticities& colors, int transfer, int channels) {
    const ToneCurve curve = curveOf(transfer);
    return curve ? profileWith(colors, curve, channels) : Bytes();
}

} // namespace lumivert::decoder
