#include "files/SensorPhoto.h"

#include "files/TiffWriter.h"

#include <algorithm>
#include <cmath>

namespace lumivert::test {
namespace {

enum FieldType {
    byteField = 1,
    text = 2,
    shortField = 3,
    longField = 4,
    ratio = 5,
    signedRatio = 10
};

constexpr int black = 512;
constexpr int white = 16000;

// From CIE XYZ to linear light of sRGB's primaries (IEC 61966-2-1), in ten-thousandths.
constexpr std::array<int, 9> fromXyz{32406, -15372, -4986, -9689, 18758, 415, 557, -2040, 10570};

} // namespace

std::string SensorPhoto::bytes() const {
    const TiffWriter writer(true);
    const auto two = [&](int a, int b) { return writer.number(a, 2) + writer.number(b, 2); };
    const std::string name("Test Sensor\0", 12);
    std::string matrix;
    for (std::size_t i = 0; i < fromXyz.size(); ++i) {
        const double camera = fromXyz[i] * sensitivity[i / 3];
        matrix += writer.number(static_cast<std::uint32_t>(std::lround(camera)), 4) +
                  writer.number(10000, 4);
    }
    std::string balance;
    std::array<double, 3> neutral{};
    for (std::size_t i = 0; i < neutral.size(); ++i) {
        neutral[i] = sensitivity[i] * lamp[i];
        const auto share = static_cast<std::uint32_t>(std::lround(neutral[i] * 10000));
        balance += writer.rational(share, 10000);
    }
    const auto w = static_cast<std::uint32_t>(width);
    const auto h = static_cast<std::uint32_t>(height);

    std::vector<TiffEntry> entries{
        {254, longField, 1, writer.number(0, 4)},      // the photo itself
        {256, longField, 1, writer.number(w, 4)},      // ImageWidth
        {257, longField, 1, writer.number(h, 4)},      // ImageLength
        {258, shortField, 1, writer.number(16, 2)},    // BitsPerSample
        {259, shortField, 1, writer.number(1, 2)},     // not compressed
        {262, shortField, 1, writer.number(32803, 2)}, // colour filter array
        {271, text, 12, name},                         // Make
        {272, text, 12, name},                         // Model
        {273, longField, 1, writer.number(0, 4)},      // StripOffsets, known below
        {274, shortField, 1, writer.number(static_cast<std::uint64_t>(orientation), 2)},
        {277, shortField, 1, writer.number(1, 2)},         // SamplesPerPixel
        {278, longField, 1, writer.number(h, 4)},          // RowsPerStrip
        {279, longField, 1, writer.number(w * h * 2, 4)},  // StripByteCounts
        {284, shortField, 1, writer.number(1, 2)},         // PlanarConfiguration
        {33421, shortField, 2, two(2, 2)},                 // CFARepeatPatternDim
        {33422, byteField, 4, std::string("\0\1\1\2", 4)}, // CFAPattern
        {50706, byteField, 4, std::string("\1\4\0\0", 4)}, // DNGVersion
        {50708, text, 12, name},                           // UniqueCameraModel
        {50714, longField, 1, writer.number(black, 4)},    // BlackLevel
        {50717, longField, 1, writer.number(white, 4)},    // WhiteLevel
        {50721, signedRatio, 9, matrix},                   // ColorMatrix1
        {50728, ratio, 3, balance},                        // AsShotNeutral
        {50778, shortField, 1, writer.number(21, 2)},      // CalibrationIlluminant1: D65
    };
    if (isMonochrome) {
        constexpr std::array ofColours{33421, 33422, 50721, 50728, 50778};
        std::erase_if(entries, [&](const TiffEntry& entry) {
            return std::ranges::count(ofColours, entry.tag) > 0;
        });
        entries[5].value = writer.number(34892, 2); // LinearRaw
        neutral = {1, 1, 1};
    }
    if (pixelAspect != 1) {
        const auto thousandths = static_cast<std::uint32_t>(std::lround(pixelAspect * 1000));
        const auto after =
            std::ranges::find_if(entries, [](const TiffEntry& entry) { return entry.tag > 50718; });
        entries.insert(
            after, {50718, ratio, 2, writer.rational(thousandths, 1000) + writer.rational(1, 1)});
    }
    std::string file = writer.header();
    const std::size_t pixelsAt = 8 + writer.directory(entries, 8).size();
    entries[8].value = writer.number(pixelsAt, 4);
    file += writer.directory(entries, 8);
    file.reserve(file.size() + std::size_t{2} * w * h);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const auto channel = static_cast<std::size_t>(isMonochrome ? 1 : x % 2 + y % 2);
            const double level = light(x, y)[channel] * neutral[channel];
            const auto sample = static_cast<int>(std::lround(black + level * (white - black)));
            file += static_cast<char>(sample & 0xff);
            file += static_cast<char>(sample >> 8);
        }
    return file;
}

} // namespace lumivert::test
