#include "platform/lcms/LcmsScreenConversion.h"

#include "platform/lcms/LcmsHandles.h"

#include <bit>
#include <limits>
#include <utility>

namespace lumivert {
namespace {

// 0xffRRGGBB in the machine's byte order.
constexpr cmsUInt32Number words =
    std::endian::native == std::endian::little ? TYPE_BGRA_8 : TYPE_ARGB_8;

class LcmsScreenConversion : public ScreenConversion {
public:
    LcmsScreenConversion(lcms::Context context, lcms::Transform transform)
        : m_context(std::move(context))
        , m_transform(std::move(transform)) {}

    void convert(std::span<std::uint32_t> pixels) const override {
        cmsDoTransform(m_transform.get(), pixels.data(), pixels.data(),
                       static_cast<cmsUInt32Number>(pixels.size()));
    }

private:
    lcms::Context m_context;
    lcms::Transform m_transform;
};

} // namespace

std::shared_ptr<const ScreenConversion> lcmsScreenConversion(std::span<const std::byte> profile) {
    lcms::Context context = lcms::silentContext();
    if (!context || profile.size() > std::numeric_limits<cmsUInt32Number>::max())
        return nullptr;
    const lcms::Profile screen(cmsOpenProfileFromMemTHR(
        context.get(), profile.data(), static_cast<cmsUInt32Number>(profile.size())));
    const lcms::Profile photo(cmsCreate_sRGBProfileTHR(context.get()));
    if (!screen || !photo || cmsGetColorSpace(screen.get()) != cmsSigRgbData ||
        cmsGetDeviceClass(screen.get()) == cmsSigLinkClass)
        return nullptr;
    // No cache of the last pixel: with it a transform belongs to one thread. The fourth byte stays
    // as it is, converted in place.
    lcms::Transform transform(cmsCreateTransformTHR(
        context.get(), photo.get(), words, screen.get(), words, INTENT_RELATIVE_COLORIMETRIC,
        cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_NOCACHE));
    if (!transform)
        return nullptr;
    return std::make_shared<LcmsScreenConversion>(std::move(context), std::move(transform));
}

} // namespace lumivert
