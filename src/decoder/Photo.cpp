#include "decoder/Photo.h"

#include "decoder/Damage.h"
#include "decoder/RawReader.h"
#include "decoder/VipsReader.h"
#include "platform/decoder/DecoderProtocol.h"

#include <utility>

namespace lumivert::decoder {
namespace {

// libvips opens sensor data as the small preview inside it, so the RAW reader is asked first,
// except for what no camera's RAW begins with.
bool mayBeRaw(const PhotoFacts& facts) {
    switch (facts.container) {
    case Container::tiff:
        return !facts.isPlainTiff;
    case Container::other:
        return true;
    default:
        return false;
    }
}

} // namespace

PixelSize Photo::uprightSize() const {
    return orientation >= 5 ? PixelSize{storedSize.height, storedSize.width} : storedSize;
}

Density Photo::uprightDensity() const {
    return orientation >= 5 ? Density{density.y, density.x} : density;
}

std::optional<Photo> openPhoto(std::span<const std::byte> bytes, const OpenOptions& options) {
    forgetDamage();
    std::optional<Photo> photo;
    if (mayBeRaw(readFacts(bytes, {})))
        photo = openRaw(bytes, options);
    if (!photo)
        photo = openWithVips(bytes, options);
    if (!photo || !protocol::isPossible(photo->storedSize))
        return std::nullopt;
    // What was tried on the way is of no concern to forEachStrip().
    vips_error_clear();
    return photo;
}

} // namespace lumivert::decoder
