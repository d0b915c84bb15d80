#include "decoder/TestProfiles.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <random>
#include <stdexcept>

namespace lumivert::decoder::test {
namespace {

std::uint32_t wordAt(const Bytes& bytes, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < 4; ++i)
        word = word << 8 | std::to_integer<std::uint32_t>(bytes.at(at + i));
    return word;
}

// Where the tag stands in the table (ICC.1, 7.3): its name, offset and size.
std::size_t entryOf(const Bytes& profile, std::string_view tag) {
    constexpr std::size_t table = 128;
    for (std::size_t i = 0; i < wordAt(profile, table); ++i) {
        const std::size_t at = table + 4 + 12 * i;
        if (std::memcmp(profile.data() + at, tag.data(), 4) == 0)
            return at;
    }
    throw std::runtime_error("no such tag");
}

} // namespace

Profile TableRgb::profile() const {
    // A small display behind the grids.
    cmsToneCurve* gamma = cmsBuildGamma(nullptr, 1.4);
    std::array<cmsToneCurve*, 3> curves{gamma, gamma, gamma};
    cmsCIExyY white{0.3457, 0.3585, 1};
    cmsCIExyYTRIPLE primaries{{0.60, 0.35, 1}, {0.25, 0.60, 1}, {0.17, 0.10, 1}};
    const Profile device(cmsCreateRGBProfile(&white, &primaries, curves.data()));
    cmsFreeToneCurve(gamma);
    const Profile lab(cmsCreateLab4Profile(nullptr));
    Profile result(cmsCreateProfilePlaceholder(nullptr));
    cmsSetProfileVersion(result.get(), 4.3);
    cmsSetDeviceClass(result.get(), cmsSigOutputClass);
    cmsSetColorSpace(result.get(), cmsSigRgbData);
    cmsSetPCS(result.get(), cmsSigLabData);
    cmsWriteTag(result.get(), cmsSigMediaWhitePointTag, &paper);
    const auto table = [](const Profile& from, const Profile& to, cmsUInt32Number in,
                          cmsUInt32Number out) {
        cmsPipeline* pipeline = cmsPipelineAlloc(nullptr, 3, 3);
        cmsStage* grid = cmsStageAllocCLut16bit(nullptr, 33, 3, 3, nullptr);
        const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
            cmsCreateTransform(from.get(), in, to.get(), out, INTENT_RELATIVE_COLORIMETRIC,
                               cmsFLAGS_NOOPTIMIZE),
            &cmsDeleteTransform);
        cmsStageSampleCLut16bit(
            grid,
            [](const cmsUInt16Number* a, cmsUInt16Number* b, void* handle) {
                cmsDoTransform(handle, a, b, 1);
                return 1;
            },
            way.get(), 0);
        // Curves on both sides, or it cannot be saved.
        cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
        cmsPipelineInsertStage(pipeline, cmsAT_END, grid);
        cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
        return pipeline;
    };
    for (const auto tag : {cmsSigAToB0Tag, cmsSigAToB1Tag, cmsSigAToB2Tag}) {
        if (hasOnlyPerceptual && tag != cmsSigAToB0Tag)
            continue;
        cmsPipeline* way = table(device, lab, TYPE_RGB_16, TYPE_Lab_16);
        cmsWriteTag(result.get(), tag, way);
        cmsPipelineFree(way);
    }
    struct Jumps {
        std::mt19937 random;
        int most;
    } jumping{std::mt19937(5), jumps};
    for (const auto tag : {cmsSigBToA0Tag, cmsSigBToA1Tag, cmsSigBToA2Tag}) {
        cmsPipeline* way = table(lab, device, TYPE_Lab_16, TYPE_RGB_16);
        cmsStageSampleCLut16bit(
            cmsStageNext(cmsPipelineGetPtrToFirstStage(way)),
            [](const cmsUInt16Number*, cmsUInt16Number* values, void* handle) {
                auto& [random, most] = *static_cast<Jumps*>(handle);
                for (int c = 0; c < 3; ++c)
                    values[c] = static_cast<cmsUInt16Number>(std::clamp(
                        values[c] + std::uniform_int_distribution(-most / 2, most / 2)(random), 0,
                        65535));
                return 1;
            },
            &jumping, 0);
        cmsWriteTag(result.get(), tag, way);
        cmsPipelineFree(way);
    }
    return result;
}

Bytes profileBytes(const Profile& profile) {
    cmsUInt32Number size = 0;
    if (!cmsSaveProfileToMem(profile.get(), nullptr, &size))
        throw std::runtime_error("no profile");
    Bytes bytes(size);
    cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
    return bytes;
}

Bytes withDamagedTag(Bytes profile, std::string_view tag) {
    std::memset(profile.data() + wordAt(profile, entryOf(profile, tag) + 4), '?', 8);
    return profile;
}

Bytes withoutTag(Bytes profile, std::string_view tag) {
    std::memcpy(profile.data() + entryOf(profile, tag), "none", 4);
    return profile;
}

} // namespace lumivert::decoder::test
