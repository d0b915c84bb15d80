#include "decoder/ColorTransform.h"

#include "decoder/ColorGrid.h"
#include "decoder/Photo.h"
#include "decoder/Strips.h"

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

namespace lumivert::decoder {
namespace {

using vips::VImage;

// From inks of 8 bits, remembering the colours that came by: an entry has the inks in its upper
// half, the result in its lower.
Convert remembering(const Convert& exact, std::size_t outChannels) {
    constexpr int entryBits = 20;
    const auto entries =
        std::make_shared<std::vector<std::atomic<std::uint64_t>>>(std::size_t{1} << entryBits);
    const auto evaluated = [exact](std::uint32_t inks) {
        std::uint32_t result = 0;
        exact(&inks, &result, 1);
        return std::uint64_t{inks} << 32 | result;
    };
    // An entry of 0 would claim that no ink at all comes out as 0.
    entries->front() = evaluated(0);
    return [=](const void* in, void* out, std::size_t pixels) {
        const auto* from = static_cast<const std::uint8_t*>(in);
        auto* to = static_cast<std::uint8_t*>(out);
        for (std::size_t i = 0; i < pixels; ++i, from += 4, to += outChannels) {
            std::uint32_t inks = 0;
            std::memcpy(&inks, from, sizeof inks);
            // Knuth's multiplicative hash.
            auto& kept = (*entries)[inks * 2654435761u >> (32 - entryBits)];
            std::uint64_t entry = kept.load(std::memory_order_relaxed);
            if (entry >> 32 != inks)
                kept.store(entry = evaluated(inks), std::memory_order_relaxed);
            const auto result = static_cast<std::uint32_t>(entry);
            std::memcpy(to, &result, outChannels);
        }
    };
}

VImage through(const Convert& convert, const VImage& image, int channels, int bits) {
    return generated(image, channels, bits == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR,
                     [convert](VipsRegion* out, VipsRegion* in) {
                         const VipsRect& area = out->valid;
                         for (int y = area.top; y < area.top + area.height; ++y)
                             convert(VIPS_REGION_ADDR(in, area.left, y),
                                     VIPS_REGION_ADDR(out, area.left, y),
                                     static_cast<std::size_t>(area.width));
                         return true;
                     });
}

} // namespace

Convert exactConversion(const ColorRoute& route, int bitsIn, int bitsOut) {
    const cmsHPROFILE from = route.from.get();
    const cmsHPROFILE to = route.to.get();
    const auto format = [](cmsHPROFILE profile, int bits) {
        return cmsFormatterForColorspaceOfProfile(profile, static_cast<cmsUInt32Number>(bits / 8),
                                                  FALSE);
    };
    const cmsUInt32Number in = format(from, bitsIn);
    const cmsUInt32Number out = format(to, bitsOut);
    // No cache either: threads would share it.
    cmsUInt32Number flags = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;
    if (route.intent != INTENT_ABSOLUTE_COLORIMETRIC)
        flags |= cmsFLAGS_BLACKPOINTCOMPENSATION;
    const cmsHTRANSFORM transform =
        route.paper ? cmsCreateProofingTransform(from, in, to, out, route.paper->get(),
                                                 route.intent, INTENT_RELATIVE_COLORIMETRIC,
                                                 flags | cmsFLAGS_SOFTPROOFING)
                    : cmsCreateTransform(from, in, to, out, route.intent, flags);
    if (!transform)
        throw std::runtime_error("no way from these colours to those");
    return [kept = std::shared_ptr<void>(transform, &cmsDeleteTransform)](
               const void* pixels, void* result, std::size_t count) {
        cmsDoTransform(kept.get(), pixels, result, static_cast<cmsUInt32Number>(count));
    };
}

VImage converted(const VImage& image, const ColorRoute& route, int bits) {
    const int bands = image.bands();
    const int bitsIn = bitsOf(image);
    const int channels = channelsOf(route.to);
    if (channels == 0 || !route.from || (route.paper && !*route.paper) ||
        static_cast<int>(cmsChannelsOf(cmsGetColorSpace(route.from.get()))) != bands)
        throw std::runtime_error("no way from the image's colours to these");
    if (bands == 1) { // every grey there is, converted beforehand
        const VImage greys = VImage::identity(VImage::option()->set("ushort", bitsIn == 16));
        return image.maplut(
            through(exactConversion(route, bitsIn, bits), greys, channels, bits).copy_memory());
    }
    Convert convert;
    if (bits == 8 && bitsIn == 8)
        convert = bands == 4 ? remembering(exactConversion(route, 8, 8),
                                           static_cast<std::size_t>(channels))
                             : colorTable(exactConversion(route, 8, 8), channels);
    else if (bits == 8 && bands == 3)
        convert = colorGrid(route);
    return through(convert ? convert : exactConversion(route, bitsIn, bits), image, channels, bits);
}

} // namespace lumivert::decoder
