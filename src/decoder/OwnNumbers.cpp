#include "decoder/OwnNumbers.h"

#include <stdexcept>
#include <vector>

namespace lumivert::decoder {
namespace {

using vips::VImage;

bool isLabLike(const VImage& image) {
    switch (image.interpretation()) {
    case VIPS_INTERPRETATION_LAB:
    case VIPS_INTERPRETATION_LABQ:
    case VIPS_INTERPRETATION_LABS:
    case VIPS_INTERPRETATION_LCH:
    case VIPS_INTERPRETATION_XYZ:
    case VIPS_INTERPRETATION_CMC:
    case VIPS_INTERPRETATION_YXY:
        return true;
    default:
        return false;
    }
}

VImage firstBands(const VImage& image, int count) {
    return image.extract_band(0, VImage::option()->set("n", count));
}

// How many channels are colour, the rest being alpha or something else.
int colorChannels(const VImage& image) {
    if (image.bands() >= 4 && image.interpretation() == VIPS_INTERPRETATION_CMYK)
        return 4;
    return image.bands() >= 3 ? 3 : 1;
}

VImage withoutAlpha(const VImage& image) {
    const int channels = colorChannels(image);
    if (image.bands() <= channels)
        return image;
    const VImage front = firstBands(image, channels + 1);
    if (!image.has_alpha())
        return firstBands(front, channels);
    double white = 255;
    double opaque = 255;
    if (image.format() == VIPS_FORMAT_USHORT)
        white = opaque = 65535;
    else if (image.format() == VIPS_FORMAT_FLOAT || image.format() == VIPS_FORMAT_DOUBLE)
        white = opaque = 1;
    if (channels == 4)
        white = 0; // no ink
    // Of whole numbers libvips would round the mean down.
    const VImage flat = front.cast(VIPS_FORMAT_FLOAT)
                            .flatten(VImage::option()
                                         ->set("background", std::vector<double>(channels, white))
                                         ->set("max_alpha", opaque));
    return (vips_band_format_isint(image.format()) ? flat.rint() : flat).cast(image.format());
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
    if (image.coding() == VIPS_CODING_RAD)
        image = image.rad2float();
    if (isIccLab || isLabLike(image))
        return {isIccLab ? fromIccLab(image) : fromLab(image), labBytes()};

    image = withoutAlpha(image);
    OwnNumbers own;
    if (describes(embeddedProfile, image.bands()))
        own.profile = embeddedProfile;
    switch (image.format()) {
    case VIPS_FORMAT_UCHAR:
    case VIPS_FORMAT_CHAR:
        own.pixels = image.cast(VIPS_FORMAT_UCHAR);
        break;
    case VIPS_FORMAT_USHORT:
    case VIPS_FORMAT_SHORT:
        own.pixels = image.cast(VIPS_FORMAT_USHORT);
        break;
    case VIPS_FORMAT_UINT:
    case VIPS_FORMAT_INT:
        own.pixels = image.cast(VIPS_FORMAT_USHORT, VImage::option()->set("shift", true));
        break;
    case VIPS_FORMAT_FLOAT:
    case VIPS_FORMAT_DOUBLE:
        own.pixels = fromFloat(image, own.profile.empty());
        break;
    default:
        throw std::runtime_error("pixels of no usable format");
    }
    return own;
}

} // namespace lumivert::decoder
