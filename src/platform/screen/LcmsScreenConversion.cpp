#include "platform/screen/LcmsScreenConversion.h"

#include <lcms2.h>

#include <bit>
#include <limits>
#include <type_traits>
#include <utility>

namespace lumivert {
namespace {

template <class Handle, auto close>
struct Closer {
    void operator()(Handle handle) const { close(handle); }
};
using Context =
    std::unique_ptr<std::remove_pointer_t<cmsContext>, Closer<cmsContext, &cmsDeleteContext>>;
using Profile = std::unique_ptr<void, Closer<cmsHPROFILE, &cmsCloseProfile>>;
using Transform = std::unique_ptr<void, Closer<cmsHTRANSFORM, &cmsDeleteTransform>>;

// 0xffRRGGBB in the machine's byte order.
constexpr cmsUInt32Number words =
    std::endian::native == std::endian::little ? TYPE_BGRA_8 : TYPE_ARGB_8;

// The transform goes before the context that it was made in.
struct Conversion {
    Context context;
    Transform transform;
};

} // namespace

std::shared_ptr<const ScreenConversion> lcmsScreenConversion(std::span<const std::byte> profile) {
    // Of its own: what the library says of a damaged profile goes nowhere.
    Context context(cmsCreateContext(nullptr, nullptr));
    if (!context || profile.size() > std::numeric_limits<cmsUInt32Number>::max())
        return nullptr;
    const Profile screen(cmsOpenProfileFromMemTHR(context.get(), profile.data(),
                                                  static_cast<cmsUInt32Number>(profile.size())));
    const Profile photo(cmsCreate_sRGBProfileTHR(context.get()));
    if (!screen || !photo || cmsGetColorSpace(screen.get()) != cmsSigRgbData ||
        cmsGetDeviceClass(screen.get()) == cmsSigLinkClass)
        return nullptr;
    // No cache of the last pixel: with it a transform belongs to one thread. The fourth byte stays
    // as it is, converted in place.
    Transform transform(cmsCreateTransformTHR(context.get(), photo.get(), words, screen.get(),
                                              words, INTENT_RELATIVE_COLORIMETRIC,
                                              cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_NOCACHE));
    if (!transform)
        return nullptr;
    const auto made =
        std::make_shared<Conversion>(Conversion{std::move(context), std::move(transform)});
    return std::make_shared<ScreenConversion>([made](std::span<std::uint32_t> pixels) {
        cmsDoTransform(made->transform.get(), pixels.data(), pixels.data(),
                       static_cast<cmsUInt32Number>(pixels.size()));
    });
}

} // namespace lumivert
