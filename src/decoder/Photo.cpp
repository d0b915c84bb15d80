#include "decoder/Photo.h"

#include "decoder/Confinement.h"
#include "decoder/Damage.h"
#include "decoder/OwnNumbers.h"
#include "decoder/OwnReaders.h"
#include "decoder/PhotoFacts.h"
#include "decoder/Profiles.h"
#include "decoder/RawReader.h"
#include "decoder/Strips.h"
#include "decoder/Tiff.h"
#include "platform/decoder/DecoderProtocol.h"

#include <algorithm>
#include <utility>

namespace lumivert::decoder {
namespace {

using vips::VImage;
using vips::VSource;

VImage load(const PhotoFormat& format, const VSource& source,
            vips::VOption* options = VImage::option()) {
    VImage image;
    VImage::call(format.loader.data(), options->set("out", &image)
                                           ->set("source", source)
                                           ->set("access", VIPS_ACCESS_SEQUENTIAL)
                                           ->set("fail_on", VIPS_FAIL_ON_TRUNCATED));
    // The same rows, not copied; those that cannot be read are noted.
    return generated(image, image.bands(), image.format(), [](VipsRegion* out, VipsRegion* in) {
        VipsRect* area = &out->valid;
        return vips_region_region(out, in, area, area->left, area->top) == 0;
    });
}

Bytes embeddedProfile(const VImage& image) {
    if (image.get_typeof(VIPS_META_ICC_NAME) == 0)
        return {};
    std::size_t size = 0;
    const auto* bytes = static_cast<const std::byte*>(image.get_blob(VIPS_META_ICC_NAME, &size));
    return {bytes, bytes + size};
}

// With the loader's own reduction that keeps the longer edge at `edge` or above. Libjpeg scales in
// the frequency domain, a proper low pass, so that no reserve for a second one is kept.
VImage shrunk(const PhotoFormat& format, const VSource& source, const VImage& whole, int edge) {
    const int longer = std::max(whole.width(), whole.height());
    if (std::int64_t{std::min(whole.width(), whole.height())} * edge < longer)
        return whole; // a loader would leave nothing of the shorter edge
    int shrink = 8;
    while (shrink > 1 && longer / shrink < edge)
        shrink /= 2;
    if (format.kind == PhotoKind::jpeg && shrink > 1)
        return load(format, source, VImage::option()->set("shrink", shrink));
    if (format.kind == PhotoKind::webp && longer > edge)
        return load(format, source,
                    VImage::option()->set("scale", static_cast<double>(edge) / longer));
    return whole;
}

// What the loader keeps of all pixels until the last is made. A plain JPEG or PNG comes row by row;
// a TIFF may hold all its rows in one strip.
std::size_t heldBytesAPixel(const VImage& image, PhotoKind kind) {
    const bool mayComeInRows = kind == PhotoKind::jpeg || kind == PhotoKind::png;
    const bool isInterlaced =
        image.get_typeof("interlaced") != 0 || image.get_typeof("jpeg-multiscan") != 0;
    return mayComeInRows && !isInterlaced ? 0 : VIPS_IMAGE_SIZEOF_PEL(image.get_image());
}

// Data that ends early is an error when the pixels are asked for.
Photo openWithVips(const PhotoFormat& format, std::span<const std::byte> bytes,
                   const TiffFacts& tiff, const OpenOptions& options) {
    const VSource source = VSource::new_from_memory(bytes.data(), bytes.size());
    VImage image = tiff.isForLibtiff               ? readTiffPixels(bytes)
                   : format.kind == PhotoKind::bmp ? readBmp(bytes)
                   : format.kind == PhotoKind::exr ? readExr(bytes)
                                                   : load(format, source);
    if (tiff.maskSamples > 0 && !tiff.isForLibtiff && image.bands() > tiff.maskSamples)
        image = image.extract_band(0, VImage::option()->set("n", image.bands() - tiff.maskSamples));
    const bool isInOrder = !tiff.rows.empty() && !tiff.isForLibtiff &&
                           tiff.rows.size() == VIPS_IMAGE_SIZEOF_IMAGE(image.get_image());
    const auto jpeg = format.kind == PhotoKind::jpeg ? readJpegMarkers(bytes) : std::nullopt;
    Photo photo;
    photo.storedSize = {image.width(), image.height()};
    allowPhoto(photo.storedSize, isInOrder ? 0 : heldBytesAPixel(image, format.kind));
    photo.orientation = orientationOf(format, bytes, image);
    photo.density = densityOf(format, bytes, image, jpeg ? jpeg->jfifDensity : tiff.density);
    const Bytes profile = embeddedProfile(image);
    // The loader would copy them, and keep strips of them twice. Nothing is written to them.
    if (isInOrder)
        image =
            VImage::new_from_memory(const_cast<std::byte*>(tiff.rows.data()), tiff.rows.size(),
                                    image.width(), image.height(), image.bands(), image.format())
                .copy(VImage::option()->set("interpretation", image.interpretation()));
    photo.isRandomAccess = isInOrder;
    if (options.screenEdge)
        image = shrunk(format, source, image, *options.screenEdge);

    // Libvips takes every JPEG of four inks for one of Adobe's.
    if (jpeg && jpeg->components == 4 && image.bands() == 4 && !jpeg->inverted)
        image = image.invert();

    OwnNumbers own = ownNumbers(image, profile, tiff.isIccLab);
    photo.pixels = own.pixels;
    photo.profile = std::move(own.profile);
    if (Bytes stated =
            statedProfile(format, bytes, image, photo.channels(), !photo.profile.empty());
        !stated.empty())
        photo.profile = std::move(stated);
    if (jpeg && jpeg->embeddable && jpeg->components == photo.channels())
        photo.jpeg = jpeg;
    return photo;
}

} // namespace

bool Photo::isLab() const {
    return profile == labBytes();
}

const Bytes& Photo::paperProfile() const {
    return isLab() ? wideGamutBytes() : profile;
}

PixelSize Photo::uprightSize() const {
    return orientation >= 5 ? PixelSize{storedSize.height, storedSize.width} : storedSize;
}

Density Photo::uprightDensity() const {
    return orientation >= 5 ? Density{density.y, density.x} : density;
}

std::optional<Photo> openPhoto(std::span<const std::byte> bytes, const OpenOptions& options) {
    forgetDamage();
    std::optional<Photo> photo;
    const PhotoFormat* format = formatOf(bytes);
    const bool isTiff = format && format->kind == PhotoKind::tiff;
    const TiffFacts tiff = isTiff ? readTiff(bytes) : TiffFacts{};
    // Libvips opens sensor data as the small preview inside it, so the RAW reader is asked first,
    // except for what no camera's RAW begins with.
    const bool isThumbnail = tiff.cameraPixels > 0 && sensorPixels(bytes) > 2 * tiff.cameraPixels;
    if (!format || (isTiff && !tiff.isPicture) || isThumbnail)
        photo = openRaw(bytes, options);
    if (!photo && format)
        photo = openWithVips(*format, bytes, tiff, options);
    if (!photo || !protocol::isPossible(photo->storedSize))
        return std::nullopt;
    // What was tried on the way is of no concern to forEachStrip().
    vips_error_clear();
    return photo;
}

} // namespace lumivert::decoder
