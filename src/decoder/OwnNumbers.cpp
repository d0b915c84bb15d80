#include "decoder/OwnNumbers.h"

#include <stdexcept>
#include <vector>

namespace lumivert::decoder {
namespace {

using vips::VImage;

VImage firstBands(const VImage& image, int count) {
    return image.extract_band(0, VImage::option()->set("n", count));
}

VImage withoutAlpha(const VImage& image) {
    const bool hasInks = image.bands() >= 4 && image.interpretation() == VIPS_INTERPRETATION_CMYK;
    const int channels = hasInks ? 4 : image.bands() >= 3 ? 3 : 1;
    if (image.bands() == channels || !image.has_alpha())
        return firstBands(image, channels);
    const VipsBandFormat format = image.format();
    const double opaque = vips_band_format_isfloat(format) ? 1
                          : format == VIPS_FORMAT_USHORT   ? 65535
                                                           : 255;
    const std::vector<double> white(static_cast<std::size_t>(channels), hasInks ? 0 : opaque);
    // Of whole numbers libvips would round the mean down.
    const VImage flat =
        firstBands(image, channels + 1)
            .cast(VIPS_FORMAT_FLOAT)
            .flatten(VImage::option()->set("background", white)->set("max_alpha", opaque));
    return (vips_band_format_isint(format) ? flat.rint() : flat).cast(format);
}

// CIELAB as ICC.1 (version 4), 6.3.4.2, encodes it in 16 bits.
VImage encodedLab(const VImage& lab) {
    const double zero = 128 * 257;
    return lab.linear({655.35, 257, 257}, {0, zero, zero}).rint().cast(VIPS_FORMAT_USHORT);
}

VImage fromLab(const VImage& image) {
    if (image.coding() != VIPS_CODING_LABQ)
        return encodedLab(
            firstBands(image.colourspace(VIPS_INTERPRETATION_LAB).cast(VIPS_FORMAT_FLOAT), 3));
    // The first three bytes are those of a TIFF; libvips's own way to read them misses white.
    const VImage bytes = image.copy(VImage::option()
                                        ->set("coding", VIPS_CODING_NONE)
                                        ->set("bands", 4)
                                        ->set("format", VIPS_FORMAT_UCHAR)
                                        ->set("interpretation", VIPS_INTERPRETATION_MULTIBAND));
    const VImage colors = bytes.extract_band(1, VImage::option()->set("n", 2))
                              .copy(VImage::option()->set("format", VIPS_FORMAT_CHAR));
    return encodedLab((bytes[0] * (100 / 255.0)).bandjoin(colors));
}

// ICCLab of TIFF: a and b from 0 up, and in 16 bits the encoding of ICC.1's version 2.
VImage fromIccLab(const VImage& image) {
    const VImage lab = firstBands(image, 3);
    const double scale = image.format() == VIPS_FORMAT_USHORT ? 65535 / 65280.0 : 257;
    return (lab * scale).rint().cast(VIPS_FORMAT_USHORT);
}

VImage fromFloat(const VImage& image, bool isLinear) {
    VImage clipped = image.cast(VIPS_FORMAT_FLOAT);
    // NaN compares false with everything, so it becomes black as well.
    clipped = (clipped > 0).ifthenelse(clipped, 0);
    clipped = (clipped < 1).ifthenelse(clipped, 1);
    if (isLinear) // IEC 61966-2-1
        clipped = (clipped <= 0.0031308)
                      .ifthenelse(clipped * 12.92, clipped.pow(1 / 2.4) * 1.055 - 0.055);
    return (clipped * 65535 + 0.5).cast(VIPS_FORMAT_USHORT);
}

} // namespace

OwnNumbers ownNumbers(VImage image, const Bytes& embeddedProfile, bool isIccLab) {
    const VipsInterpretation meaning = image.interpretation();
    if (isIccLab)
        return {fromIccLab(image), labBytes()};
    // What libvips makes of TIFF's CIELAB of 8, 16 and 32 bits, and of its LogLuv.
    if (meaning == VIPS_INTERPRETATION_LABQ || meaning == VIPS_INTERPRETATION_LABS ||
        meaning == VIPS_INTERPRETATION_LAB || meaning == VIPS_INTERPRETATION_XYZ)
        return {fromLab(image), labBytes()};

    image = withoutAlpha(image);
    const VipsBandFormat format = image.format();
    const Bytes profile = describes(embeddedProfile, image.bands()) ? embeddedProfile : Bytes();
    if (vips_band_format_isfloat(format))
        return {fromFloat(image, profile.empty()), profile};
    if (vips_band_format_iscomplex(format))
        throw std::runtime_error("pixels of no usable format");
    if (vips_band_format_is8bit(format))
        return {image.cast(VIPS_FORMAT_UCHAR), profile};
    // Of 32 bits the upper ones.
    const bool isWide = vips_format_sizeof(format) == 4;
    return {image.cast(VIPS_FORMAT_USHORT, VImage::option()->set("shift", isWide)), profile};
}

} // namespace lumivert::decoder
