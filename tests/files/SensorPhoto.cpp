#include "files/SensorPhoto.h"

#include "files/TiffWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <vector>

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

constexpr std::array<std::array<int, 6>, 6> xTransFilters{{{1, 2, 1, 1, 0, 1},
                                                           {0, 1, 0, 2, 1, 2},
                                                           {1, 2, 1, 1, 0, 1},
                                                           {1, 0, 1, 1, 2, 1},
                                                           {2, 1, 2, 0, 1, 0},
                                                           {1, 0, 1, 1, 2, 1}}};

// From CIE XYZ to linear light of sRGB's primaries (IEC 61966-2-1), in ten-thousandths.
constexpr std::array<int, 9> fromXyz{32406, -15372, -4986, -9689, 18758, 415, 557, -2040, 10570};

using Samples = std::vector<std::uint16_t>;

// Bits from the most significant on.
class BitWriter {
public:
    explicit BitWriter(bool isJpeg)
        : m_isJpeg(isJpeg) {}

    void put(std::uint32_t value, int bits) {
        for (int bit = bits - 1; bit >= 0; --bit) {
            m_pending = m_pending << 1 | (value >> bit & 1);
            if (++m_held == 8)
                flush();
        }
    }
    void fillByte() {
        while (m_held > 0)
            put(m_isJpeg ? 1 : 0, 1);
    }

    std::string bytes;

private:
    void flush() {
        bytes += static_cast<char>(m_pending);
        if (m_isJpeg && (m_pending & 0xff) == 0xff)
            bytes += '\0';
        m_pending = 0;
        m_held = 0;
    }

    bool m_isJpeg;
    unsigned m_pending = 0;
    int m_held = 0;
};

std::string packedRows(const Samples& samples, int samplesARow, int bits) {
    BitWriter writer(false);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (i % static_cast<std::size_t>(samplesARow) == 0)
            writer.fillByte();
        writer.put(samples[i], bits);
    }
    writer.fillByte();
    return writer.bytes;
}

std::string jpegOf(const Samples& samples, int width, int height, int components, int bits) {
    const TiffWriter bigEndian(false);
    const auto byte = [](int value) { return std::string(1, static_cast<char>(value)); };
    const auto words = [&](std::initializer_list<int> values) {
        std::string text;
        for (const int value : values)
            text += bigEndian.number(static_cast<std::uint64_t>(value), 2);
        return text;
    };
    std::string file = words({0xffd8, 0xffc3, 8 + 3 * components}) + byte(bits);
    file += words({height, width});
    file += byte(components);
    for (int c = 0; c < components; ++c)
        file += byte(c) + byte(0x11) + byte(0);
    // Differences of 0 to 16 bits, each by a code of 5.
    file += words({0xffc4, 2 + 1 + 16 + 17}) + byte(0);
    for (int length = 1; length <= 16; ++length)
        file += byte(length == 5 ? 17 : 0);
    for (int size = 0; size <= 16; ++size)
        file += byte(size);
    file += words({0xffda, 6 + 2 * components}) + byte(components);
    for (int c = 0; c < components; ++c)
        file += byte(c) + byte(0);
    file += byte(1) + byte(0) + byte(0);
    BitWriter writer(true);
    const auto line = static_cast<std::size_t>(width * components);
    const auto step = static_cast<std::size_t>(components);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const int before = i < step          ? 1 << (bits - 1)
                           : i % line < step ? samples[i - line]
                                             : samples[i - step];
        const int difference = static_cast<std::int16_t>(samples[i] - before);
        int size = 0;
        while (std::abs(difference) >> size != 0)
            ++size;
        writer.put(static_cast<std::uint32_t>(size), 5);
        if (size < 16)
            writer.put(static_cast<std::uint32_t>(difference > 0 ? difference : difference - 1),
                       size);
    }
    writer.fillByte();
    return file + writer.bytes + words({0xffd9});
}

// A file with a picture of 24 x 16 pixels, which another directory is to follow.
std::string withThumbnail(const TiffWriter& writer, bool isNext, const std::string& name) {
    std::string pixels;
    for (int i = 0; i < 24 * 16; ++i)
        pixels += "\x60\x40\x20";
    std::vector<TiffEntry> entries{
        {256, longField, 1, writer.number(24, 4)},               // ImageWidth
        {257, longField, 1, writer.number(16, 4)},               // ImageLength
        {258, shortField, 3, std::string("\10\0\10\0\10\0", 6)}, // BitsPerSample
        {259, shortField, 1, writer.number(1, 2)},               // Compression: none
        {262, shortField, 1, writer.number(2, 2)},               // RGB
        {271, text, 12, name},                                   // Make
        {272, text, 12, name},                                   // Model
        {273, longField, 1, writer.number(0, 4)},                // StripOffsets, known below
        {277, shortField, 1, writer.number(3, 2)},               // SamplesPerPixel
        {278, longField, 1, writer.number(16, 4)},               // RowsPerStrip
        {279, longField, 1, writer.number(pixels.size(), 4)},    // StripByteCounts
    };
    if (!isNext)
        entries.push_back({330, longField, 1, writer.number(0, 4)}); // SubIFDs, known below
    const std::size_t pixelsAt = 8 + writer.directory(entries, 8).size();
    const std::size_t end = pixelsAt + pixels.size();
    entries[7].value = writer.number(pixelsAt, 4);
    if (!isNext)
        entries.back().value = writer.number(end, 4);
    return writer.header() + writer.directory(entries, 8, isNext ? end : 0) + pixels;
}

} // namespace

std::string SensorPhoto::bytes() const {
    const bool isLinear = filters == linear;
    const int samples = isLinear ? 3 : 1;
    const int black = 1 << (bits - 7);
    const int white = 125 * black;
    const TiffWriter writer(true);
    const auto each = [&](int value, int size) {
        std::string values;
        for (int i = 0; i < samples; ++i)
            values += writer.number(static_cast<std::uint64_t>(value), size);
        return values;
    };
    const auto count = static_cast<std::uint32_t>(samples);
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

    Samples values;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int s = 0; s < samples; ++s) {
                const auto channel = static_cast<std::size_t>(
                    isLinear                ? s
                    : filters == monochrome ? 1
                    : filters == xTrans     ? xTransFilters[static_cast<std::size_t>(y % 6)]
                                                       [static_cast<std::size_t>(x % 6)]
                                        : x % 2 + y % 2);
                const double share = filters == monochrome ? 1 : neutral[channel];
                const double level = std::min(light(x, y)[channel] * share, 1.0);
                values.push_back(
                    static_cast<std::uint16_t>(std::lround(black + level * (white - black))));
            }
    std::string pixels;
    if (coding == losslessJpeg)
        pixels = jpegOf(values, width, height, samples, bits);
    else if (coding == packed)
        pixels = packedRows(values, width * samples, bits);
    else
        for (const std::uint16_t value : values)
            pixels += writer.number(value, 2);
    std::string pattern("\0\1\1\2", 4);
    if (filters == xTrans) {
        pattern.clear();
        for (const auto& row : xTransFilters)
            for (const int filter : row)
                pattern += static_cast<char>(filter);
    }
    const int repeat = filters == xTrans ? 6 : 2;

    std::vector<TiffEntry> entries{
        {254, longField, 1, writer.number(0, 4)},                               // the photo itself
        {256, longField, 1, writer.number(w, 4)},                               // ImageWidth
        {257, longField, 1, writer.number(h, 4)},                               // ImageLength
        {258, shortField, count, each(coding == words ? 16 : bits, 2)},         // BitsPerSample
        {259, shortField, 1, writer.number(coding == losslessJpeg ? 7 : 1, 2)}, // Compression
        {262, shortField, 1, writer.number(32803, 2)}, // colour filter array
        {271, text, 12, name},                         // Make
        {272, text, 12, name},                         // Model
        {273, longField, 1, writer.number(0, 4)},      // StripOffsets, known below
        {274, shortField, 1, writer.number(static_cast<std::uint64_t>(orientation), 2)},
        {277, shortField, 1, writer.number(count, 2)},        // SamplesPerPixel
        {278, longField, 1, writer.number(h, 4)},             // RowsPerStrip
        {279, longField, 1, writer.number(pixels.size(), 4)}, // StripByteCounts
        {284, shortField, 1, writer.number(1, 2)},            // PlanarConfiguration
        {33421, shortField, 2, two(repeat, repeat)},          // CFARepeatPatternDim
        {33422, byteField, static_cast<std::uint32_t>(pattern.size()), pattern}, // CFAPattern
        {50706, byteField, 4, std::string("\1\4\0\0", 4)},                       // DNGVersion
        {50708, text, 12, name},                      // UniqueCameraModel
        {50714, longField, count, each(black, 4)},    // BlackLevel
        {50717, longField, count, each(white, 4)},    // WhiteLevel
        {50721, signedRatio, 9, matrix},              // ColorMatrix1
        {50728, ratio, 3, balance},                   // AsShotNeutral
        {50778, shortField, 1, writer.number(21, 2)}, // CalibrationIlluminant1: D65
    };
    if (filters == linear || filters == monochrome) {
        std::vector ofColours{33421, 33422};
        if (filters == monochrome)
            ofColours.insert(ofColours.end(), {50721, 50728, 50778});
        std::erase_if(entries, [&](const TiffEntry& entry) {
            return std::ranges::count(ofColours, entry.tag) > 0;
        });
        entries[5].value = writer.number(34892, 2); // LinearRaw
    }
    if (pixelAspect != 1) {
        const auto thousandths = static_cast<std::uint32_t>(std::lround(pixelAspect * 1000));
        const auto after =
            std::ranges::find_if(entries, [](const TiffEntry& entry) { return entry.tag > 50718; });
        entries.insert(
            after, {50718, ratio, 2, writer.rational(thousandths, 1000) + writer.rational(1, 1)});
    }
    if (container != dng)
        std::erase_if(entries, [](const TiffEntry& entry) { return entry.tag >= 50706; });
    std::string file = container == ownMagic ? "IIRO" + writer.number(8, 4) : writer.header();
    if (container == nextDirectory || container == belowDirectory)
        file = withThumbnail(writer, container == nextDirectory, name);
    const std::size_t pixelsAt = file.size() + writer.directory(entries, file.size()).size();
    entries[8].value = writer.number(pixelsAt, 4);
    return file + writer.directory(entries, file.size()) + pixels;
}

} // namespace lumivert::test
