#include "platform/screen/LcmsScreenConversion.h"

#include <lcms2.h>

#include <bit>
#include <limits>
#include <type_traits>
#include <utility>

namespace lumivert {
namespace {

// 0xffRRGGBB in the machine's byte order.
constexpr cmsUInt32Number words =
    std::endian::native == std::endian::little ? TYPE_BGRA_8 : TYPE_ARGB_8;

using Profile = std::unique_ptr<void, decltype(&cmsCloseProfile)>;

} // namespace

std::shared_ptr<const ScreenConversion> lcmsScreenConversion(std::span<const std::byte> profile) {
    // Of its own: what the library says of a damaged profile goes nowhere.
    const std::shared_ptr<std::remove_pointer_t<cmsContext>> context(
        cmsCreateContext(nullptr, nullptr), [](cmsContext made) {
            if (made)
                cmsDeleteContext(made);
        });
    if (!context || profile.size() > std::numeric_limits<cmsUInt32Number>::max())
        return nullptr;
    const Profile screen(cmsOpenProfileFromMemTHR(context.get(), profile.data(),
                                                  static_cast<cmsUInt32Number>(profile.size())),
                         cmsCloseProfile);
    const Profile photo(cmsCreate_sRGBProfileTHR(context.get()), cmsCloseProfile);
    if (!screen || !photo || cmsGetColorSpace(screen.get()) != cmsSigRgbData ||
        cmsGetDeviceClass(screen.get()) == cmsSigLinkClass)
        return nullptr;
    // No cache of the last pixel: with it a transform belongs to one thread. The fourth byte stays
    // as it is, converted in place.
    cmsHTRANSFORM made = cmsCreateTransformTHR(context.get(), photo.get(), words, screen.get(),
                                               words, INTENT_RELATIVE_COLORIMETRIC,
                                               cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_NOCACHE);
    if (!made)
        return nullptr;
    // It goes before the context that it was made in.
    const std::shared_ptr<void> transform(made, [context](void* it) { cmsDeleteTransform(it); });
    return std::make_shared<ScreenConversion>([transform](std::span<std::uint32_t> pixels) {
        cmsDoTransform(transform.get(), pixels.data(), pixels.data(),
                       static_cast<cmsUInt32Number>(pixels.size()));
    });
}

} // namespace lumivert
