#include "decoder/OwnNumbers.h"

#include "decoder/ColorTransform.h"

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
    return image.bands() == count ? image
                                  : image.extract_band(0, VImage::option()->set("n", count));
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
    return front
        .flatten(VImage::option()
                     ->set("background", std::vector<double>(channels, white))
                     ->set("max_alpha", opaque))
        .cast(image.format());
}

VImage fromLab(const VImage& image) {
    const VImage lab =
        firstBands(image.colourspace(VIPS_INTERPRETATION_LAB).cast(VIPS_FORMAT_FLOAT), 3);
    // ICC.1 (version 4), 6.3.4.2.
    const VImage encoded = lab.linear({655.35, 257, 257}, {0.5, 128 * 257 + 0.5, 128 * 257 + 0.5})
                               .cast(VIPS_FORMAT_USHORT);
    const Profile from(cmsCreateLab4Profile(nullptr));
    const Profile to = openProfile(wideGamutBytes());
    const PixelLayout out{3, 16};
    auto transform =
        ColorTransform::create({&from, &to, nullptr, INTENT_RELATIVE_COLORIMETRIC}, {3, 16}, out);
    if (!transform)
        throw std::runtime_error("no way from CIELAB");
    return ColorTransform::apply(std::move(transform), out, encoded);
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

OwnNumbers ownNumbers(VImage image, const Bytes& embeddedProfile) {
    if (image.coding() == VIPS_CODING_RAD)
        image = image.rad2float();
    if (isLabLike(image))
        return {fromLab(image), wideGamutBytes()};

    image = withoutAlpha(image);
    OwnNumbers own;
    if (describes(embeddedProfile, image.bands()))
        own.profile = embeddedProfile;
    switch (image.format()) {
    case VIPS_FORMAT_UCHAR:
    case VIPS_FORMAT_USHORT:
        own.pixels = image;
        break;
    case VIPS_FORMAT_CHAR:
        own.pixels = image.cast(VIPS_FORMAT_UCHAR);
        break;
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
