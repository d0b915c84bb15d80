#include "decoder/TestPhotos.h"

#include "decoder/Damage.h"
#include "decoder/Strips.h"
#include "files/TiffWriter.h"

#include <cstring>
#include <fstream>
#include <iterator>

namespace lumivert::decoder::test {
namespace {

using lumivert::test::TiffEntry;
using lumivert::test::TiffWriter;
using vips::VImage;

template <class Sample>
VImage fromSamples(PixelSize size, int bands, VipsBandFormat format,
                   const std::function<int(int, int, int)>& sample) {
    std::vector<Sample> samples;
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x)
            for (int band = 0; band < bands; ++band)
                samples.push_back(static_cast<Sample>(sample(x, y, band)));
    VipsImage* image = vips_image_new_from_memory_copy(
        samples.data(), samples.size() * sizeof(Sample), size.width, size.height, bands, format);
    const bool wide = format == VIPS_FORMAT_USHORT;
    const VipsInterpretation meaning =
        bands >= 3 ? (wide ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB)
                   : (wide ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W);
    return VImage(image).copy(VImage::option()->set("interpretation", meaning));
}

} // namespace

std::string ExifBuilder::bytes() const {
    const TiffWriter writer(littleEndian);
    const auto rational = [&](std::pair<std::uint32_t, std::uint32_t> value) {
        return writer.rational(value.first, value.second);
    };
    std::vector<TiffEntry> first;
    if (orientation)
        first.push_back({274, 3, 1, writer.number(*orientation, 2)});
    if (xResolution)
        first.push_back({282, 5, 1, rational(*xResolution)});
    if (yResolution)
        first.push_back({283, 5, 1, rational(*yResolution)});
    if (resolutionUnit)
        first.push_back({296, 3, 1, writer.number(*resolutionUnit, 2)});
    const std::string result = writer.header();
    if (!colorSpace)
        return result + writer.directory(first, 8);

    // Three directories: the first, Exif's and the interoperability one.
    first.push_back({34665, 4, 1, writer.number(0, 4)});
    const std::size_t exifAt = 8 + writer.directory(first, 8).size();
    first.back().value = writer.number(exifAt, 4);
    std::vector<TiffEntry> exif{{40961, 3, 1, writer.number(*colorSpace, 2)}};
    if (interoperabilityIndex.empty())
        return result + writer.directory(first, 8) + writer.directory(exif, exifAt);
    exif.push_back({40965, 4, 1, writer.number(0, 4)});
    const std::size_t indexAt = exifAt + writer.directory(exif, exifAt).size();
    exif.back().value = writer.number(indexAt, 4);
    const std::vector<TiffEntry> index{
        {1, 2, static_cast<std::uint32_t>(interoperabilityIndex.size()), interoperabilityIndex}};
    return result + writer.directory(first, 8) + writer.directory(exif, exifAt) +
           writer.directory(index, indexAt);
}

std::string withExif(const std::string& jpeg, const std::string& tiff) {
    const std::string segment = std::string("Exif\0\0", 6) + tiff;
    return jpeg.substr(0, 2) + "\xff\xe1" + TiffWriter(false).number(segment.size() + 2, 2) +
           segment + jpeg.substr(2);
}

std::string withoutSegments(const std::string& jpeg, unsigned char marker) {
    std::string result = jpeg.substr(0, 2);
    std::size_t at = 2;
    while (at + 4 <= jpeg.size()) {
        const auto type = static_cast<unsigned char>(jpeg[at + 1]);
        if (type == 0xda)
            break;
        const std::size_t length = std::size_t{2} + (static_cast<unsigned char>(jpeg[at + 2]) << 8 |
                                                     static_cast<unsigned char>(jpeg[at + 3]));
        if (type != marker)
            result += jpeg.substr(at, length);
        at += length;
    }
    return result + jpeg.substr(at);
}

VImage image8(PixelSize size, int bands, const std::function<int(int, int, int)>& sample) {
    return fromSamples<std::uint8_t>(size, bands, VIPS_FORMAT_UCHAR, sample);
}

VImage image16(PixelSize size, int bands, const std::function<int(int, int, int)>& sample) {
    return fromSamples<std::uint16_t>(size, bands, VIPS_FORMAT_USHORT, sample);
}

VImage plain8(PixelSize size, const std::vector<int>& pixel) {
    return image8(size, static_cast<int>(pixel.size()),
                  [&](int, int, int band) { return pixel[static_cast<std::size_t>(band)]; });
}

std::string saved(const VImage& image, const std::string& suffix, vips::VOption* options) {
    void* data = nullptr;
    std::size_t size = 0;
    image.write_to_buffer(suffix.c_str(), &data, &size, options);
    std::string file(static_cast<const char*>(data), size);
    g_free(data);
    return file;
}

std::span<const std::byte> asBytes(const std::string& text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

Bytes fileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto bytes = asBytes(text);
    return {bytes.begin(), bytes.end()};
}

int ReadRows::at(int x, int y, int channel) const {
    const auto index = static_cast<std::size_t>((y * size.width + x) * channels + channel);
    if (bits == 8)
        return std::to_integer<int>(samples.at(index));
    return std::to_integer<int>(samples.at(index * 2)) << 8 |
           std::to_integer<int>(samples.at(index * 2 + 1));
}

std::optional<ReadRows> readRows(const std::string& file, std::optional<PixelRect> crop,
                                 const std::optional<Paper>& target) {
    try {
        const auto photo = openPhoto(asBytes(file), {});
        if (!photo || !isWhole(asBytes(file)))
            return std::nullopt;
        const PixelSize whole = photo->uprightSize();
        const VImage pixels =
            paperRows(*photo, crop.value_or(PixelRect{0, 0, whole.width, whole.height}), target);
        ReadRows result;
        result.size = {pixels.width(), pixels.height()};
        result.channels = pixels.bands();
        result.bits = bitsOf(pixels);
        result.profile = photo->paperProfile();
        forEachStrip(pixels, [&](std::span<const std::byte> strip, int) {
            result.samples.insert(result.samples.end(), strip.begin(), strip.end());
            return true;
        });
        return result;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<ReadRendition> readRendition(const std::string& file, int edge,
                                           const std::optional<Paper>& paper) {
    try {
        const auto photo = openPhoto(asBytes(file), {edge, 0});
        if (!photo || !isWhole(asBytes(file)))
            return std::nullopt;
        const VImage rendition = screenRendition(*photo, edge, paper);
        ReadRendition result;
        result.size = {rendition.width(), rendition.height()};
        result.words.resize(static_cast<std::size_t>(result.size.width) *
                            static_cast<std::size_t>(result.size.height));
        writeWords(rendition, result.words.data());
        return result;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace lumivert::decoder::test
