#include "decoder/Rendition.h"

#include "decoder/ColorTransform.h"
#include "decoder/Strips.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

namespace lumivert::decoder {
namespace {

using vips::VImage;

VImage upright(const VImage& stored, const Photo& photo, bool isRandomAccess) {
    // Exif's orientations (CIPA DC-008, 4.6.5, tag 274) from 3 on ask for rows in another order
    // than they are stored.
    const bool isKept = photo.orientation > 2 && !isRandomAccess;
    VImage image = isKept ? keptWhole(stored) : stored.copy();
    image.set(VIPS_META_ORIENTATION, photo.orientation);
    return image.autorot();
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
    const double across = static_cast<double>(width) / image.width();
    const double down = static_cast<double>(height) / image.height();
    // Without a gap: in one step, which goes no further than some hundred pixels to one. Shrinking
    // by a whole number first, as libvips does by itself, takes ten times as long where many
    // threads ask for rows.
    const double gap = std::min(across, down) > 0.02 ? 0 : 2;
    return image.resize(across, VImage::option()->set("vscale", down)->set("gap", gap));
}

} // namespace

VImage screenRendition(const Photo& photo, int screenEdge, const std::optional<Paper>& paper) {
    const VImage image = upright(fitted(photo.pixels, photo.storedSize, screenEdge), photo, false);
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
    VImage image = upright(photo.pixels, photo, photo.isRandomAccess)
                       .extract_area(crop.x, crop.y, crop.width, crop.height);
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
