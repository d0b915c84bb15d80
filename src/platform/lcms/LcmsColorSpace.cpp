#include "platform/lcms/LcmsColorSpace.h"

#include "platform/lcms/LcmsHandles.h"

#include <cstddef>
#include <cstdint>

namespace lumivert {
namespace {

// The fields of the header that are looked at (ICC.1, 7.2).
constexpr std::size_t headerSize = 128;
constexpr std::size_t sizeOffset = 0;
constexpr std::size_t classOffset = 12;
constexpr std::size_t spaceOffset = 16;

constexpr std::size_t largestProfile = std::size_t{64} << 20;

using lcms::Context;
using lcms::Profile;
using lcms::silentContext;
using lcms::Transform;

// A field as the number that it is: Little CMS gives signatures as values of an enum, which has
// room for fewer than a file can hold.
std::uint32_t headerField(std::span<const std::byte> bytes, std::size_t offset) {
    std::uint32_t number = 0;
    for (const std::byte byte : bytes.subspan(offset, 4))
        number = number << 8 | std::to_integer<std::uint32_t>(byte);
    return number;
}

int channelsOf(std::uint32_t space) {
    switch (space) {
    case cmsSigGrayData:
        return 1;
    case cmsSigRgbData:
    case cmsSigLabData:
        return 3;
    case cmsSigCmykData:
        return 4;
    default:
        return 0; // a page has no space for it (ISO 32000-1, 8.6.5.5)
    }
}

bool isDrawableClass(std::uint32_t profileClass) {
    return profileClass == cmsSigInputClass || profileClass == cmsSigDisplayClass ||
           profileClass == cmsSigOutputClass || profileClass == cmsSigColorSpaceClass;
}

// 16 bits a sample, in the order that Little CMS has for the space.
cmsUInt32Number formatOf(cmsColorSpaceSignature space) {
    return COLORSPACE_SH(static_cast<cmsUInt32Number>(_cmsLCMScolorSpace(space))) |
           CHANNELS_SH(static_cast<cmsUInt32Number>(channelsOf(space))) | BYTES_SH(2);
}

bool connects(cmsContext context, cmsHPROFILE from, cmsHPROFILE to, cmsUInt32Number intent) {
    return Transform(cmsCreateTransformTHR(context, from, formatOf(cmsGetColorSpace(from)), to,
                                           formatOf(cmsGetColorSpace(to)), intent,
                                           cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE)) != nullptr;
}

// Every intent is asked for, as one of them is chosen only later. A profile without tables takes
// the same way for all of them, and turning its curves round takes up to 40 ms each time.
bool hasWayBack(cmsContext context, cmsHPROFILE lab, cmsHPROFILE profile) {
    const bool hasTables = cmsIsTag(profile, cmsSigBToA0Tag) || cmsIsTag(profile, cmsSigBToA1Tag) ||
                           cmsIsTag(profile, cmsSigBToA2Tag) || cmsIsTag(profile, cmsSigBToD0Tag) ||
                           cmsIsTag(profile, cmsSigBToD1Tag) || cmsIsTag(profile, cmsSigBToD2Tag) ||
                           cmsIsTag(profile, cmsSigBToD3Tag);
    if (!hasTables)
        return connects(context, lab, profile, INTENT_RELATIVE_COLORIMETRIC);
    return connects(context, lab, profile, INTENT_PERCEPTUAL) &&
           connects(context, lab, profile, INTENT_RELATIVE_COLORIMETRIC) &&
           connects(context, lab, profile, INTENT_SATURATION) &&
           connects(context, lab, profile, INTENT_ABSOLUTE_COLORIMETRIC);
}

} // namespace

std::shared_ptr<const ColorSpace> colorSpaceFromIccProfile(SharedBytes bytes) {
    if (bytes.view.size() < headerSize || bytes.view.size() > largestProfile ||
        headerField(bytes.view, sizeOffset) > bytes.view.size())
        return nullptr;
    const std::uint32_t profileClass = headerField(bytes.view, classOffset);
    const std::uint32_t space = headerField(bytes.view, spaceOffset);
    const int channels = channelsOf(space);
    if (!isDrawableClass(profileClass) || channels == 0)
        return nullptr;
    const Context context = silentContext();
    if (!context)
        return nullptr;
    const Profile profile(cmsOpenProfileFromMemTHR(
        context.get(), bytes.view.data(), static_cast<cmsUInt32Number>(bytes.view.size())));
    const Profile lab(cmsCreateLab4ProfileTHR(context.get(), nullptr));
    if (!profile || !lab || !connects(context.get(), profile.get(), lab.get(), INTENT_PERCEPTUAL))
        return nullptr;

    const bool isDestination = profileClass != cmsSigInputClass && space != cmsSigLabData &&
                               hasWayBack(context.get(), lab.get(), profile.get());
    return std::make_shared<const ColorSpace>(
        ColorSpace{std::move(bytes), channels, isDestination});
}

} // namespace lumivert
