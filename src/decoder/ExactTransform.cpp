#include "decoder/ExactTransform.h"

namespace lumivert::decoder {
namespace {

cmsUInt32Number pixelType(const PixelLayout& layout) {
    if (layout.isLab)
        return TYPE_Lab_FLT;
    const cmsUInt32Number space = layout.channels == 1   ? PT_GRAY
                                  : layout.channels == 3 ? PT_RGB
                                                         : PT_CMYK;
    return COLORSPACE_SH(space) | CHANNELS_SH(static_cast<cmsUInt32Number>(layout.channels)) |
           BYTES_SH(static_cast<cmsUInt32Number>(layout.bits / 8));
}

} // namespace

std::unique_ptr<const ExactTransform> ExactTransform::create(const ColorRoute& route,
                                                             PixelLayout in, PixelLayout out) {
    if (!*route.from || !*route.to || (route.paper && !*route.paper))
        return nullptr;
    // No cache either: threads would share it.
    cmsUInt32Number flags = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;
    if (route.intent != INTENT_ABSOLUTE_COLORIMETRIC)
        flags |= cmsFLAGS_BLACKPOINTCOMPENSATION;
    cmsHTRANSFORM handle =
        route.paper ? cmsCreateProofingTransform(route.from->get(), pixelType(in), route.to->get(),
                                                 pixelType(out), route.paper->get(), route.intent,
                                                 INTENT_RELATIVE_COLORIMETRIC,
                                                 flags | cmsFLAGS_SOFTPROOFING)
                    : cmsCreateTransform(route.from->get(), pixelType(in), route.to->get(),
                                         pixelType(out), route.intent, flags);
    if (!handle)
        return nullptr;
    return std::unique_ptr<const ExactTransform>(new ExactTransform(handle));
}

} // namespace lumivert::decoder
