#include "decoder/Rendition.h"

#include "decoder/ColorTransform.h"
#include "decoder/Orientation.h"
#include "decoder/Strips.h"

#include <algorithm>
#include <stdexcept>

namespace lumivert::decoder {
namespace {

using vips::VImage;

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
    if (needsRandomAccess(photo.orientation))
        image = image.copy_memory();
    image = upright(image, photo.orientation);

    const int channels = photo.channels();
    if (!paper && channels == 3 && photo.bits() == 8 && photo.profile.empty())
        return image;
    const Profile from = sourceProfile(photo.profile, channels);
    const Profile screen = srgbProfile();
    const Profile through = paper ? openProfile(paper->profile) : nullptr;
    const ColorRoute route =
        paper ? ColorRoute{&from, &screen, &through, paper->intent}
              : ColorRoute{&from, &screen, nullptr, INTENT_RELATIVE_COLORIMETRIC};
    const PixelLayout out{3, 8};
    auto transform = ColorTransform::create(route, {channels, photo.bits()}, out);
    if (!transform)
        throw std::runtime_error("no way from the photo's colours to the screen");
    return ColorTransform::apply(std::move(transform), out, image);
}

void writeWords(const VImage& rendition, std::uint32_t* pixels) {
    const auto width = static_cast<std::size_t>(rendition.width());
    forEachStrip(rendition, [&](const Strip& strip) {
        for (int i = 0; i < strip.lines; ++i) {
            const std::byte* from = strip.line(i).data();
            std::uint32_t* to = pixels + static_cast<std::size_t>(strip.top + i) * width;
            for (std::size_t x = 0; x < width; ++x, from += 3)
                to[x] = 0xff000000u | std::to_integer<std::uint32_t>(from[0]) << 16 |
                        std::to_integer<std::uint32_t>(from[1]) << 8 |
                        std::to_integer<std::uint32_t>(from[2]);
        }
        return true;
    });
}

} // namespace lumivert::decoder
