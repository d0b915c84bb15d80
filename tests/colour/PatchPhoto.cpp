#include "colour/PatchPhoto.h"

#include <vips/vips8>

#include <cmath>
#include <random>
#include <string_view>

namespace lumivert {
namespace {

using vips::VImage;

constexpr int patchPixels = 32;
constexpr int patchCount = patchColumns * patchRows;

// APP1: a TIFF structure whose Exif directory says "uncalibrated" (65535) and points to an
// interoperability directory with the index R03 (DCF 2.0, "DCF optional file").
constexpr std::string_view
    optionR03("\xff\xe1\0\x5e"
              "Exif\0\0"
              "MM\0*\0\0\0\x08"
              "\0\x01\x87\x69\0\x04\0\0\0\x01\0\0\0\x1a\0\0\0\0"
              "\0\x02\xa0\x01\0\x03\0\0\0\x01\xff\xff\0\0\xa0\x05\0\x04\0\0\0\x01\0\0\0\x38\0\0\0\0"
              "\0\x02\0\x01\0\x02\0\0\0\x04R03\0\0\x02\0\x07\0\0\0\x04"
              "0100"
              "\0\0\0\0",
              96);

std::vector<Color> patchColors(int channels) {
    std::vector<Color> colors;
    const auto count = static_cast<std::size_t>(channels);
    if (channels == 1) {
        for (int i = 0; i < patchCount; ++i)
            colors.push_back({i / (patchCount - 1.0)});
        return colors;
    }
    for (unsigned corner = 0; corner < 1U << count; ++corner) {
        Color color(count);
        for (std::size_t i = 0; i < count; ++i)
            color[i] = corner >> i & 1;
        colors.push_back(color);
    }
    for (int step = 1; step < 12; ++step)
        colors.emplace_back(count, step / 12.0);
    std::mt19937 generator(20);
    while (colors.size() < static_cast<std::size_t>(patchCount)) {
        Color color(count);
        for (double& value : color)
            value = static_cast<double>(generator() >> 8) / (1 << 24);
        colors.push_back(color);
    }
    return colors;
}

VImage imageOf(const std::vector<Color>& colors, int bits) {
    const auto channels = static_cast<int>(colors.front().size());
    const double largest = (1 << bits) - 1;
    std::vector<float> samples;
    for (int y = 0; y < patchRows; ++y)
        for (int x = 0; x < patchColumns; ++x)
            for (const double value : colors[static_cast<std::size_t>(y * patchColumns + x)])
                samples.push_back(static_cast<float>(std::round(value * largest)));
    const VImage small(vips_image_new_from_memory_copy(samples.data(),
                                                       samples.size() * sizeof(float), patchColumns,
                                                       patchRows, channels, VIPS_FORMAT_FLOAT));
    const bool wide = bits == 16;
    const VipsInterpretation meaning =
        channels == 4   ? VIPS_INTERPRETATION_CMYK
        : channels == 3 ? (wide ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB)
                        : (wide ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W);
    return small.cast(wide ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR)
        .zoom(patchPixels, patchPixels)
        .copy(VImage::option()->set("interpretation", meaning));
}

std::vector<Color> colorsIn(const std::string& path) {
    const VImage image = VImage::new_from_file(path.c_str());
    const double largest = image.format() == VIPS_FORMAT_USHORT ? 65535 : 255;
    const VImage whole = image.copy_memory();
    std::vector<Color> colors;
    for (int y = 0; y < patchRows; ++y)
        for (int x = 0; x < patchColumns; ++x) {
            Color color = whole.getpoint(x * patchPixels + patchPixels / 2,
                                         y * patchPixels + patchPixels / 2);
            for (double& value : color)
                value /= largest;
            colors.push_back(color);
        }
    return colors;
}

PatchPhoto write(const TemporaryFolder& folder, const PatchPhotoFile& file,
                 const std::vector<Color>& colors) {
    // A copy: metadata can only be set on an image that nobody shares.
    VImage image = imageOf(colors, file.bits).copy();
    if (!file.profile.empty())
        vips_image_set_blob_copy(image.get_image(), VIPS_META_ICC_NAME, file.profile.data(),
                                 file.profile.size());
    const std::string path = folder / file.name;
    if (file.name.ends_with(".jpg"))
        image.jpegsave(path.c_str(), VImage::option()->set("Q", 100)->set(
                                         "subsample_mode", VIPS_FOREIGN_SUBSAMPLE_OFF));
    else
        image.write_to_file(path.c_str());
    if (file.isOptionR03) {
        std::string bytes = folder.read(file.name);
        bytes.insert(2, optionR03);
        (void)folder.write(file.name, bytes);
    }
    return {path, colorsIn(path)};
}

} // namespace

PatchPhoto writePatchPhoto(const TemporaryFolder& folder, const PatchPhotoFile& file) {
    return write(folder, file, patchColors(file.channels));
}

PatchPhoto writePlainPhoto(const TemporaryFolder& folder, const PatchPhotoFile& file,
                           const Color& color) {
    return write(folder, file, std::vector<Color>(std::size_t{patchCount}, color));
}

std::vector<Color> patchesOf(const CupsRaster& raster) {
    const int side = raster.width / patchColumns;
    std::vector<Color> colors;
    for (int y = 0; y < patchRows; ++y)
        for (int x = 0; x < patchColumns; ++x)
            colors.push_back(
                raster.mean(x * side + side / 4, y * side + side / 4, side / 2, side / 2));
    return colors;
}

} // namespace lumivert
