#include "decoder/Rendition.h"

#include "decoder/ColorTransform.h"
#include "decoder/Strips.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

namespace lumivert::decoder {
namespace {

using vips::VImage;

// Exif's orientations (CIPA DC-008, 4.6.5, tag 274) from 3 on ask for rows in another order than
// they are stored.
bool needsRandomAccess(const Photo& photo) {
    return photo.orientation > 2;
}

VImage upright(const VImage& stored, int orientation) {
    VImage image = stored.copy();
    image.set(VIPS_META_ORIENTATION, orientation);
    return image.autorot();
}

// Where the rectangle of the upright photo lies in the stored one.
PixelRect storedRect(PixelRect rect, const Photo& photo) {
    const int turn = photo.orientation;
    if (turn >= 5)
        rect = {rect.y, rect.x, rect.height, rect.width};
    if (turn == 2 || turn == 3 || turn == 7 || turn == 8)
        rect.x = photo.storedSize.width - rect.x - rect.width;
    if (turn == 3 || turn == 4 || turn == 6 || turn == 7)
        rect.y = photo.storedSize.height - rect.y - rect.height;
    return rect;
}

bool isInside(PixelRect rect, PixelSize size) {
    return rect.x >= 0 && rect.y >= 0 && rect.width > 0 && rect.height > 0 &&
           rect.width <= size.width && rect.height <= size.height &&
           rect.x <= size.width - rect.width && rect.y <= size.height - rect.height;
}

VImage fitted(const VImage& image, PixelSize storedSize, int edge) {
    const int longer = std::max(storedSize.width, storedSize.height);
    const int target = std::min(edge, longer);
    const auto scaled = [&](int side) {
        return std::max(1, static_cast<int>(static_cast<std::int64_t>(side) * target / longer));
    };
    const int width = scaled(storedSize.width);
    const int height = scaled(storedSize.height);
    if (width == image.width() && height == image.height())
        return image;
    return image.resize(
        static_cast<double>(width) / image.width(),
        VImage::option()->set("vscale", static_cast<double>(height) / image.height()));
}

} // namespace

VImage screenRendition(const Photo& photo, int screenEdge, const std::optional<Paper>& paper) {
    VImage image = fitted(photo.pixels, photo.storedSize, screenEdge);
    if (needsRandomAccess(photo))
        image = keptWhole(image);
    image = upright(image, photo.orientation);
    if (!paper && photo.channels() == 3 && photo.bits() == 8 && photo.profile.empty())
        return image;
    const Profile from = sourceProfile(photo.profile, photo.channels());
    const Profile through = paper ? openProfile(paper->profile) : nullptr;
    return converted(image,
                     {from, srgbProfile(), paper ? &through : nullptr,
                      paper ? paper->intent : INTENT_RELATIVE_COLORIMETRIC},
                     8);
}

void writeWords(const VImage& rendition, std::uint32_t* pixels) {
    forEachStrip(rendition, [&](std::span<const std::byte> rows, int top) {
        std::uint32_t* to =
            pixels + static_cast<std::size_t>(top) * static_cast<std::size_t>(rendition.width());
        for (const std::byte* from = rows.data(); from != rows.data() + rows.size(); from += 3)
            *to++ = 0xff000000u | std::to_integer<std::uint32_t>(from[0]) << 16 |
                    std::to_integer<std::uint32_t>(from[1]) << 8 |
                    std::to_integer<std::uint32_t>(from[2]);
        return true;
    });
}

VImage paperRows(const Photo& photo, PixelRect crop, const std::optional<Paper>& target) {
    if (!isInside(crop, photo.uprightSize()))
        throw std::runtime_error("crop outside the photo");
    const PixelRect part = storedRect(crop, photo);
    VImage image = photo.pixels;
    if (part != PixelRect{0, 0, photo.storedSize.width, photo.storedSize.height})
        image = image.extract_area(part.x, part.y, part.width, part.height);
    if (needsRandomAccess(photo) && !photo.isRandomAccess)
        image = keptWhole(image);
    image = upright(image, photo.orientation);
    if (target || photo.isLab()) {
        const Paper to = target.value_or(Paper{photo.paperProfile(), INTENT_RELATIVE_COLORIMETRIC});
        image = converted(image,
                          {sourceProfile(photo.profile, photo.channels()), openProfile(to.profile),
                           nullptr, to.intent},
                          target ? 8 : 16);
    }
    const bool isSwapped =
        image.format() == VIPS_FORMAT_USHORT && std::endian::native == std::endian::little;
    return isSwapped ? image.byteswap() : image;
}

} // namespace lumivert::decoder
