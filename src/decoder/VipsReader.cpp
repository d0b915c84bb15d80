#include "decoder/VipsReader.h"

#include "decoder/Limits.h"
#include "decoder/OwnNumbers.h"
#include "decoder/Profiles.h"

#include <algorithm>

namespace lumivert::decoder {
namespace {

using vips::VImage;
using vips::VOption;
using vips::VSource;

VOption* loadOptions() {
    return VImage::option()
        ->set("access", VIPS_ACCESS_SEQUENTIAL)
        ->set("fail_on", VIPS_FAIL_ON_TRUNCATED);
}

std::span<const std::byte> blob(const VImage& image, const char* name) {
    if (image.get_typeof(name) == 0)
        return {};
    std::size_t size = 0;
    const void* bytes = image.get_blob(name, &size);
    return {static_cast<const std::byte*>(bytes), size};
}

// The loader's own reduction that keeps the longer edge at `edge` or above; 1 for none. Libjpeg
// scales in the frequency domain, a proper low pass, so that no reserve for a second one is kept.
int shrinkOnLoad(PixelSize size, int edge) {
    const int longer = std::max(size.width, size.height);
    int shrink = 8;
    while (shrink > 1 && longer / shrink < edge)
        shrink /= 2;
    return shrink;
}

VImage shrunk(const VSource& source, Container container, PixelSize size, int edge) {
    if (container == Container::jpeg)
        if (const int shrink = shrinkOnLoad(size, edge); shrink > 1)
            return VImage::jpegload_source(source, loadOptions()->set("shrink", shrink));
    if (container == Container::webp)
        if (const int longer = std::max(size.width, size.height); longer > edge)
            return VImage::webpload_source(
                source, loadOptions()->set("scale", static_cast<double>(edge) / longer));
    return VImage::new_from_source(source, "", loadOptions());
}

// What the loader keeps of all pixels until the last is made. A plain JPEG or PNG comes row by row;
// a TIFF may hold all its rows in one strip.
std::size_t heldBytesAPixel(const VImage& image, Container container) {
    const bool mayComeInRows = container == Container::jpeg || container == Container::png;
    const bool isInterlaced =
        image.get_typeof("interlaced") != 0 || image.get_typeof("jpeg-multiscan") != 0;
    return mayComeInRows && !isInterlaced ? 0 : VIPS_IMAGE_SIZEOF_PEL(image.get_image());
}

} // namespace

std::optional<Photo> openWithVips(std::span<const std::byte> bytes, const OpenOptions& options) {
    const VSource source = VSource::new_from_memory(bytes.data(), bytes.size());
    VImage image = VImage::new_from_source(source, "", loadOptions());

    const PhotoFacts facts = readFacts(bytes, blob(image, "exif-data"));
    if (facts.jpeg && !facts.jpeg->hasEnd)
        return std::nullopt;
    Photo photo;
    photo.storedSize = {image.width(), image.height()};
    allowPhoto(photo.storedSize, heldBytesAPixel(image, facts.container));
    photo.orientation = facts.orientation;
    photo.density = facts.density;
    const auto embedded = blob(image, "icc-profile-data");
    const Bytes profile(embedded.begin(), embedded.end());
    if (options.screenEdge)
        image = shrunk(source, facts.container, photo.storedSize, *options.screenEdge);

    // Libvips takes every JPEG of four inks for one of Adobe's.
    if (facts.jpeg && facts.jpeg->components == 4 && image.bands() == 4 && !facts.jpeg->inverted)
        image = image.invert();

    OwnNumbers own = ownNumbers(image, profile);
    photo.pixels = own.pixels;
    photo.profile = std::move(own.profile);
    if (photo.profile.empty() && facts.adobeRgb && photo.channels() == 3)
        photo.profile = adobeRgbBytes();
    if (facts.jpeg && facts.jpeg->embeddable && facts.jpeg->components == photo.channels())
        photo.jpeg = facts.jpeg;
    return photo;
}

} // namespace lumivert::decoder
