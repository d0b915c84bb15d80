#include "decoder/Rows.h"

#include "decoder/ColorTransform.h"
#include "decoder/Orientation.h"
#include "decoder/PixelStore.h"

#include <bit>
#include <stdexcept>

namespace lumivert::decoder {
namespace {

bool isInside(PixelRect rect, PixelSize size) {
    return rect.x >= 0 && rect.y >= 0 && rect.width > 0 && rect.height > 0 &&
           rect.width <= size.width && rect.height <= size.height &&
           rect.x <= size.width - rect.width && rect.y <= size.height - rect.height;
}

} // namespace

Rows photoRows(const Photo& photo, PixelRect crop, const std::optional<Paper>& target) {
    if (!isInside(crop, photo.uprightSize()))
        throw std::runtime_error("crop outside the photo");
    Rows rows;
    rows.channels = photo.channels();
    rows.bits = photo.bits();
    const PixelRect part = storedRect(crop, photo.storedSize, photo.orientation);
    rows.pixels = photo.pixels;
    if (part != PixelRect{0, 0, photo.storedSize.width, photo.storedSize.height})
        rows.pixels = rows.pixels.extract_area(part.x, part.y, part.width, part.height);
    if (needsRandomAccess(photo.orientation) && !photo.isRandomAccess) {
        PixelStore store = keepPixels(rows.pixels);
        rows.pixels = store.pixels;
        rows.backing = std::move(store.backing);
    }
    rows.pixels = upright(rows.pixels, photo.orientation);
    if (target || photo.isLab()) {
        const Profile to = openProfile(target ? target->profile : photo.paperProfile());
        const PixelLayout out{to ? channelsOf(to) : 0, target ? 8 : 16};
        if (out.channels == 0)
            throw std::runtime_error("the target is no profile of a device");
        const Profile from = sourceProfile(photo.profile, rows.channels);
        const std::uint32_t intent = target ? target->intent : INTENT_RELATIVE_COLORIMETRIC;
        auto transform =
            ColorTransform::create({&from, &to, nullptr, intent}, {rows.channels, rows.bits}, out);
        if (!transform)
            throw std::runtime_error("no way into the target");
        rows.pixels = ColorTransform::apply(std::move(transform), out, rows.pixels);
        rows.channels = out.channels;
        rows.bits = out.bits;
    }
    if (rows.bits == 16 && std::endian::native == std::endian::little)
        rows.pixels = rows.pixels.byteswap();
    return rows;
}

} // namespace lumivert::decoder
