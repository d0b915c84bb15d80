#include "platform/screen/TestProfiles.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace lumivert {
namespace {

// Saves and closes the profile.
Bytes saved(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    if (!cmsSaveProfileToMem(profile, nullptr, &size))
        throw std::runtime_error("a test profile cannot be made");
    Bytes bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    return bytes;
}

// A table of four grid points an input, through `sample`.
void writeTable(cmsHPROFILE profile, cmsTagSignature tag, unsigned inputs, unsigned outputs,
                cmsSAMPLER16 sample) {
    cmsPipeline* pipeline = cmsPipelineAlloc(nullptr, inputs, outputs);
    cmsPipelineInsertStage(pipeline, cmsAT_BEGIN,
                           cmsStageAllocToneCurves(nullptr, inputs, nullptr));
    cmsStage* table = cmsStageAllocCLut16bit(nullptr, 4, inputs, outputs, nullptr);
    cmsStageSampleCLut16bit(table, sample, nullptr, 0);
    cmsPipelineInsertStage(pipeline, cmsAT_END, table);
    cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, outputs, nullptr));
    cmsWriteTag(profile, tag, pipeline);
    cmsPipelineFree(pipeline);
}

} // namespace

Bytes rgbProfile() {
    return saved(cmsCreate_sRGBProfile());
}

Bytes wideGamutProfile() {
    constexpr cmsCIExyYTRIPLE primaries{{0.708, 0.292, 1}, {0.17, 0.797, 1}, {0.131, 0.046, 1}};
    constexpr cmsCIExyY white{0.3127, 0.329, 1};
    std::array<cmsToneCurve*, 3> curves{};
    curves.fill(cmsBuildGamma(nullptr, 2.4));
    const cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves.data());
    cmsFreeToneCurve(curves[0]);
    return saved(profile);
}

Bytes rgbTableProfile() {
    const cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 2.4);
    cmsSetDeviceClass(profile, cmsSigDisplayClass);
    cmsSetColorSpace(profile, cmsSigRgbData);
    cmsSetPCS(profile, cmsSigLabData);
    cmsWriteTag(profile, cmsSigMediaWhitePointTag, cmsD50_XYZ());
    // Lightness is the green, and the two others lie around it by what the colour is.
    writeTable(profile, cmsSigAToB0Tag, 3, 3,
               [](const cmsUInt16Number* in, cmsUInt16Number* out, void*) -> cmsInt32Number {
                   out[0] = static_cast<cmsUInt16Number>(in[1] / 257 * 256);
                   out[1] = static_cast<cmsUInt16Number>(0x8000 + (in[0] - in[1]) / 2);
                   out[2] = static_cast<cmsUInt16Number>(0x8000 + (in[1] - in[2]) / 2);
                   return 1;
               });
    writeTable(profile, cmsSigBToA0Tag, 3, 3,
               [](const cmsUInt16Number* in, cmsUInt16Number* out, void*) -> cmsInt32Number {
                   const auto clamped = [](int value) {
                       return static_cast<cmsUInt16Number>(std::clamp(value, 0, 0xffff));
                   };
                   const int green = std::min(in[0] / 256 * 257, 0xffff);
                   out[0] = clamped(green + (in[1] - 0x8000) * 2);
                   out[1] = clamped(green);
                   out[2] = clamped(green - (in[2] - 0x8000) * 2);
                   return 1;
               });
    return saved(profile);
}

Bytes greyProfile() {
    cmsToneCurve* curve = cmsBuildGamma(nullptr, 2.2);
    const cmsHPROFILE profile = cmsCreateGrayProfile(cmsD50_xyY(), curve);
    cmsFreeToneCurve(curve);
    return saved(profile);
}

Bytes cmykProfile(TablesOf tables) {
    const cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 2.4);
    cmsSetDeviceClass(profile, cmsSigOutputClass);
    cmsSetColorSpace(profile, cmsSigCmykData);
    cmsSetPCS(profile, cmsSigLabData);
    cmsWriteTag(profile, cmsSigMediaWhitePointTag, cmsD50_XYZ());
    writeTable(profile, cmsSigAToB0Tag, 4, 3,
               [](const cmsUInt16Number* in, cmsUInt16Number* out, void*) -> cmsInt32Number {
                   const int ink = (in[0] + in[1] + in[2]) / 3 + in[3];
                   out[0] = static_cast<cmsUInt16Number>(0xff00 - std::min(ink, 0xff00));
                   out[1] = out[2] = 0x8000;
                   return 1;
               });
    if (tables == TablesOf::bothWays)
        writeTable(profile, cmsSigBToA0Tag, 3, 4,
                   [](const cmsUInt16Number* in, cmsUInt16Number* out, void*) -> cmsInt32Number {
                       out[0] = out[1] = out[2] = 0;
                       out[3] = static_cast<cmsUInt16Number>(0xffff - in[0]);
                       return 1;
                   });
    return saved(profile);
}

Bytes labColorSpaceProfile() {
    const cmsHPROFILE profile = cmsCreateLab4Profile(nullptr);
    cmsSetDeviceClass(profile, cmsSigColorSpaceClass);
    return saved(profile);
}

Bytes labAbstractProfile() {
    return saved(cmsCreateLab4Profile(nullptr));
}

Bytes deviceLink() {
    std::array<cmsToneCurve*, 3> curves{};
    curves.fill(cmsBuildGamma(nullptr, 1.1));
    const cmsHPROFILE profile = cmsCreateLinearizationDeviceLink(cmsSigRgbData, curves.data());
    cmsFreeToneCurve(curves[0]);
    return saved(profile);
}

Bytes withoutTag(Bytes profile, const std::string& tag) {
    const auto name = std::as_bytes(std::span(tag));
    const auto at = std::search(profile.begin() + 128, profile.end(), name.begin(), name.end());
    if (at == profile.end())
        throw std::runtime_error("the profile has no tag " + tag);
    *at = std::byte{'?'};
    return profile;
}

} // namespace lumivert
