#include "colour/ColorProfiles.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace lumivert {
namespace {

using Profile = std::unique_ptr<void, decltype(&cmsCloseProfile)>;
using Curve = std::unique_ptr<cmsToneCurve, decltype(&cmsFreeToneCurve)>;
using Triple = std::array<double, 3>;

constexpr cmsCIExyY d65{0.3127, 0.3290, 1};

std::string saved(cmsHPROFILE handle) {
    const Profile profile(handle, &cmsCloseProfile);
    cmsUInt32Number size = 0;
    if (!profile || !cmsSaveProfileToMem(profile.get(), nullptr, &size))
        throw std::runtime_error("a test profile cannot be made");
    std::string bytes(size, '\0');
    cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
    return bytes;
}

Profile opened(const std::string& bytes) {
    Profile profile(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())),
                    &cmsCloseProfile);
    if (!profile)
        throw std::runtime_error("a test profile cannot be read");
    return profile;
}

Curve gammaCurve(double gamma) {
    return {cmsBuildGamma(nullptr, gamma), &cmsFreeToneCurve};
}

std::string matrixProfile(cmsCIExyY white, cmsCIExyYTRIPLE primaries, const Curve& curve) {
    const std::array curves{curve.get(), curve.get(), curve.get()};
    return saved(cmsCreateRGBProfile(&white, &primaries, curves.data()));
}

// The paper of the table profile, relative to its white: light of three inks that mix by a matrix
// onto a black that still reflects.
constexpr Triple gammas{1.8, 2.0, 2.3};
constexpr double blackReflects = 0.012;
constexpr cmsCIEXYZ paperWhite{0.845, 0.885, 0.690};
// RGB of Adobe RGB (1998)'s primaries to XYZ, adapted to D50, and back.
constexpr std::array<Triple, 3> toXyz{
    {{0.60974, 0.20528, 0.14919}, {0.31111, 0.62567, 0.06322}, {0.01947, 0.06087, 0.74457}}};
constexpr std::array<Triple, 3> fromXyz{
    {{1.96253, -0.61068, -0.34137}, {-0.97876, 1.91615, 0.03342}, {0.02869, -0.14067, 1.34926}}};

Triple times(const std::array<Triple, 3>& matrix, const Triple& v) {
    Triple result{};
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = matrix[i][0] * v[0] + matrix[i][1] * v[1] + matrix[i][2] * v[2];
    return result;
}

cmsCIELab labOnPaper(const Triple& device) {
    Triple light{};
    for (std::size_t i = 0; i < 3; ++i)
        light[i] = std::pow(device[i], gammas[i]);
    const Triple xyz = times(toXyz, light);
    const auto* white = cmsD50_XYZ();
    const auto onBlack = [](double value, double ofWhite) {
        return blackReflects * ofWhite + (1 - blackReflects) * value;
    };
    const cmsCIEXYZ color{onBlack(xyz[0], white->X), onBlack(xyz[1], white->Y),
                          onBlack(xyz[2], white->Z)};
    cmsCIELab lab{};
    cmsXYZ2Lab(white, &lab, &color);
    return lab;
}

Triple deviceOnPaper(const cmsCIELab& lab) {
    const auto* white = cmsD50_XYZ();
    cmsCIEXYZ color{};
    cmsLab2XYZ(white, &color, &lab);
    const auto offBlack = [](double value, double ofWhite) {
        return (value - blackReflects * ofWhite) / (1 - blackReflects);
    };
    Triple device = times(fromXyz, {offBlack(color.X, white->X), offBlack(color.Y, white->Y),
                                    offBlack(color.Z, white->Z)});
    for (std::size_t i = 0; i < 3; ++i)
        device[i] = std::pow(std::clamp(device[i], 0.0, 1.0), 1 / gammas[i]);
    return device;
}

// What an intent's table does to a colour on its way to the paper.
struct Rendering {
    double lightness;
    double colorfulness;
};
constexpr Rendering perceptual{0.93, 0.8};
constexpr Rendering colorimetric{1, 1};
constexpr Rendering saturation{1, 1.3};

cmsCIELab rendered(const cmsCIELab& lab, const Rendering& by) {
    return {100 - (100 - lab.L) * by.lightness, lab.a * by.colorfulness, lab.b * by.colorfulness};
}

cmsInt32Number sampleToLab(const cmsUInt16Number* in, cmsUInt16Number* out, void* cargo) {
    const auto& by = *static_cast<const Rendering*>(cargo);
    const cmsCIELab lab = rendered(labOnPaper({in[0] / 65535.0, in[1] / 65535.0, in[2] / 65535.0}),
                                   {1 / by.lightness, 1 / by.colorfulness});
    cmsFloat2LabEncodedV2(out, &lab);
    return 1;
}

// Version 2 keeps L* = 100 at 0xff00 (ICC.1:2001-04, 6.5.9). A curve brings it to the table's last
// point, so that white comes out as bare paper and no slope leads beyond it.
constexpr double encodedWhite = 0xff00 / 65535.0;

cmsInt32Number sampleFromLab(const cmsUInt16Number* in, cmsUInt16Number* out, void* cargo) {
    const std::array<cmsUInt16Number, 3> encoded{
        static_cast<cmsUInt16Number>(std::lround(in[0] * encodedWhite)), in[1], in[2]};
    cmsCIELab lab{};
    cmsLabEncoded2FloatV2(&lab, encoded.data());
    const Triple device = deviceOnPaper(rendered(lab, *static_cast<const Rendering*>(cargo)));
    for (std::size_t i = 0; i < 3; ++i)
        out[i] = static_cast<cmsUInt16Number>(std::lround(device[i] * 65535));
    return 1;
}

// A table's curves must all be of one length.
Curve tabulated(double slope) {
    std::array<cmsUInt16Number, 4096> values{};
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<cmsUInt16Number>(
            std::min(65535L, std::lround(65535.0 * slope * double(i) / 4095)));
    return {cmsBuildTabulatedToneCurve16(nullptr, 4096, values.data()), &cmsFreeToneCurve};
}

void writeTable(cmsHPROFILE profile, cmsTagSignature tag, unsigned points, cmsSAMPLER16 sample,
                Rendering by) {
    const Curve straight = tabulated(1);
    const Curve first = tabulated(sample == sampleFromLab ? 1 / encodedWhite : 1);
    const std::array curves{first.get(), straight.get(), straight.get()};
    cmsPipeline* pipeline = cmsPipelineAlloc(nullptr, 3, 3);
    cmsPipelineInsertStage(pipeline, cmsAT_BEGIN,
                           cmsStageAllocToneCurves(nullptr, 3, curves.data()));
    cmsStage* table = cmsStageAllocCLut16bit(nullptr, points, 3, 3, nullptr);
    cmsStageSampleCLut16bit(table, sample, &by, 0);
    cmsPipelineInsertStage(pipeline, cmsAT_END, table);
    cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
    cmsWriteTag(profile, tag, pipeline);
    cmsPipelineFree(pipeline);
}

std::string tableProfile(cmsProfileClassSignature deviceClass) {
    const cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 2.4);
    cmsSetDeviceClass(profile, deviceClass);
    cmsSetColorSpace(profile, cmsSigRgbData);
    cmsSetPCS(profile, cmsSigLabData);
    cmsWriteTag(profile, cmsSigMediaWhitePointTag, &paperWhite);
    writeTable(profile, cmsSigAToB0Tag, 17, sampleToLab, perceptual);
    writeTable(profile, cmsSigAToB1Tag, 17, sampleToLab, colorimetric);
    writeTable(profile, cmsSigAToB2Tag, 17, sampleToLab, saturation);
    writeTable(profile, cmsSigBToA0Tag, 33, sampleFromLab, perceptual);
    writeTable(profile, cmsSigBToA1Tag, 33, sampleFromLab, colorimetric);
    writeTable(profile, cmsSigBToA2Tag, 33, sampleFromLab, saturation);
    return saved(profile);
}

cmsUInt32Number floatType(const Profile& profile) {
    switch (cmsGetColorSpace(profile.get())) {
    case cmsSigGrayData:
        return TYPE_GRAY_FLT;
    case cmsSigCmykData:
        return TYPE_CMYK_FLT;
    default:
        return TYPE_RGB_FLT;
    }
}

// Little CMS counts inks in percent.
float floatScale(cmsUInt32Number type) {
    return type == TYPE_CMYK_FLT ? 100.0F : 1.0F;
}

cmsUInt32Number iccIntent(RenderingIntent intent) {
    switch (intent) {
    case RenderingIntent::perceptual:
        return INTENT_PERCEPTUAL;
    case RenderingIntent::relative:
        return INTENT_RELATIVE_COLORIMETRIC;
    case RenderingIntent::saturation:
        return INTENT_SATURATION;
    case RenderingIntent::absolute:
        break;
    }
    return INTENT_ABSOLUTE_COLORIMETRIC;
}

std::string ghostscriptProfile(const std::string& name) {
    std::ifstream file("/usr/share/color/icc/ghostscript/" + name, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (bytes.empty())
        throw std::runtime_error(
            "Ghostscript's profiles are missing (Debian package libgs-common)");
    return bytes;
}

} // namespace

std::string srgbProfile() {
    return saved(cmsCreate_sRGBProfile());
}

std::string adobeRgbProfile() {
    return matrixProfile(d65, {{0.64, 0.33, 1}, {0.21, 0.71, 1}, {0.15, 0.06, 1}},
                         gammaCurve(2.19921875));
}

std::string proPhotoProfile() {
    return matrixProfile(*cmsD50_xyY(),
                         {{0.7347, 0.2653, 1}, {0.1596, 0.8404, 1}, {0.0366, 0.0001, 1}},
                         gammaCurve(1.8));
}

std::string displayP3Profile() {
    const std::array parameters{2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    return matrixProfile(
        d65, {{0.68, 0.32, 1}, {0.265, 0.69, 1}, {0.15, 0.06, 1}},
        {cmsBuildParametricToneCurve(nullptr, 4, parameters.data()), &cmsFreeToneCurve});
}

std::string gammaGreyProfile(double gamma) {
    return saved(cmsCreateGrayProfile(cmsD50_xyY(), gammaCurve(gamma).get()));
}

std::string inksProfile() {
    return ghostscriptProfile("default_cmyk.icc");
}

std::string queueRgbProfile() {
    return ghostscriptProfile("default_rgb.icc");
}

std::string matrixPaperProfile() {
    return matrixProfile(*cmsD50_xyY(), {{0.66, 0.32, 1}, {0.23, 0.67, 1}, {0.14, 0.07, 1}},
                         gammaCurve(1.9));
}

std::string tablePaperProfile() {
    return tableProfile(cmsSigOutputClass);
}

std::string inputOnlyProfile() {
    return tableProfile(cmsSigInputClass);
}

std::string deviceLinkProfile() {
    const Curve curve = gammaCurve(1.4);
    const std::array curves{curve.get(), curve.get(), curve.get()};
    return saved(cmsCreateLinearizationDeviceLink(cmsSigRgbData, curves.data()));
}

std::vector<Color> convertedByLittleCms(const std::vector<Color>& colors, const std::string& from,
                                        const std::string& to, RenderingIntent intent) {
    const Profile source = opened(from);
    const Profile target = opened(to);
    const cmsUInt32Number in = floatType(source);
    const cmsUInt32Number out = floatType(target);
    const cmsUInt32Number blackPoint =
        intent == RenderingIntent::absolute ? 0 : cmsFLAGS_BLACKPOINTCOMPENSATION;
    const std::unique_ptr<void, decltype(&cmsDeleteTransform)> transform(
        cmsCreateTransform(source.get(), in, target.get(), out, iccIntent(intent),
                           cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE | blackPoint),
        &cmsDeleteTransform);
    if (!transform)
        throw std::runtime_error("Little CMS knows no way between two test profiles");
    std::vector<Color> results;
    for (const Color& color : colors) {
        std::array<float, 4> values{};
        std::array<float, 4> converted{};
        for (std::size_t i = 0; i < color.size(); ++i)
            values[i] = static_cast<float>(color[i]) * floatScale(in);
        cmsDoTransform(transform.get(), values.data(), converted.data(), 1);
        Color result(T_CHANNELS(out));
        for (std::size_t i = 0; i < result.size(); ++i)
            result[i] = std::clamp(double(converted[i] / floatScale(out)), 0.0, 1.0);
        results.push_back(result);
    }
    return results;
}

} // namespace lumivert
