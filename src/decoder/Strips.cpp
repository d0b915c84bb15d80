#include "decoder/Strips.h"

#include "decoder/Damage.h"

namespace lumivert::decoder {
namespace {

int takeRegion(VipsRegion* region, VipsRect* area, void* context) {
    const auto& take = *static_cast<const std::function<bool(const Strip&)>*>(context);
    Strip strip;
    strip.first = reinterpret_cast<const std::byte*>(VIPS_REGION_ADDR(region, 0, area->top));
    strip.bytesPerLine = VIPS_IMAGE_SIZEOF_LINE(region->im);
    strip.stride = VIPS_REGION_LSKIP(region);
    strip.top = area->top;
    strip.lines = area->height;
    return take(strip) ? 0 : -1;
}

} // namespace

void forEachStrip(const vips::VImage& image, const std::function<bool(const Strip&)>& take) {
    auto context = take;
    // A cache behind the loader may paint what one thread failed to read black, and another thread
    // then finds nothing wrong: the message is what stays.
    if (vips_sink_disc(image.get_image(), takeRegion, &context) != 0 ||
        !isHarmless(vips_error_buffer()) || isDamaged())
        throw vips::VError();
}

} // namespace lumivert::decoder
