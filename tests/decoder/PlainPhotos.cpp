#include "decoder/PlainPhotos.h"

#include "files/TiffWriter.h"

#include <gtest/gtest.h>

#include <ostream>

namespace lumivert::decoder::test {

using vips::VImage;

namespace {

// The check of a PNG's chunk (PNG, annex D).
std::string pngCheck(const std::string& bytes) {
    std::uint32_t crc = 0xffffffff;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int i = 0; i < 8; ++i)
            crc = crc & 1 ? 0xedb88320 ^ crc >> 1 : crc >> 1;
    }
    return lumivert::test::TiffWriter(false).number(crc ^ 0xffffffff, 4);
}

} // namespace

std::string pngWith(const std::string& png,
                    const std::vector<std::pair<std::string, std::string>>& chunks) {
    const lumivert::test::TiffWriter writer(false);
    std::string more;
    for (const auto& [type, data] : chunks)
        more += writer.number(data.size(), 4) + type + data + pngCheck(type + data);
    return png.substr(0, 33) + more + png.substr(33);
}

vips::VOption* options() {
    return VImage::option();
}

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    stream << outcome.channels << " channels of " << outcome.bits << " bits:";
    for (const int sample : outcome.pixel)
        stream << " " << sample;
    return stream;
}

Outcome outcome(const std::string& file, int x, int y) {
    const auto rows = readRows(file);
    if (!rows)
        return {};
    Outcome result{rows->channels, rows->bits, {}};
    for (int c = 0; c < rows->channels; ++c)
        result.pixel.push_back(rows->at(x, y, c));
    return result;
}

void expectNear(const Outcome& got, const Outcome& expected, int tolerance) {
    ASSERT_EQ(got.channels, expected.channels);
    EXPECT_EQ(got.bits, expected.bits);
    for (std::size_t c = 0; c < expected.pixel.size(); ++c)
        EXPECT_NEAR(got.pixel[c], expected.pixel[c], tolerance) << c;
}

VImage plain16(const Pixel& pixel) {
    return image16(small, static_cast<int>(pixel.size()),
                   [&](int, int, int band) { return pixel[static_cast<std::size_t>(band)]; });
}

VImage plainFloat(const std::vector<double>& pixel, VipsInterpretation meaning) {
    return VImage::black(small.width, small.height)
        .cast(VIPS_FORMAT_FLOAT)
        .new_from_image(pixel)
        .copy(options()->set("interpretation", meaning));
}

VImage plainCmyk(const Pixel& inks) {
    return plain8(small, inks).copy(options()->set("interpretation", VIPS_INTERPRETATION_CMYK));
}

VImage tagged(VImage image, const Bytes& profile) {
    image = image.copy();
    image.set("icc-profile-data", nullptr, const_cast<std::byte*>(profile.data()), profile.size());
    return image;
}

std::optional<std::string> heif(VipsForeignHeifCompression compression) {
    try {
        return saved(plain8({64, 64}, {200, 60, 40}), ".heic",
                     options()->set("compression", compression)->set("Q", 95));
    } catch (const vips::VError&) {
        return std::nullopt;
    }
}

} // namespace lumivert::decoder::test
