#include "decoder/Profiles.h"

#include "platform/IccHeader.h"
#include "platform/decoder/DecoderProtocol.h"

#include <vips/vips8>

#include <algorithm>
#include <cstring>

namespace lumivert::decoder {
namespace {

Bytes savedBytes(const Profile& profile) {
    cmsUInt32Number size = 0;
    if (!profile || !cmsSaveProfileToMem(profile.get(), nullptr, &size))
        return {};
    Bytes bytes(size);
    if (!cmsSaveProfileToMem(profile.get(), bytes.data(), &size))
        return {};
    // ICC.1, 7.2: the date of creation (24-35) must not change from run to run.
    constexpr std::array<unsigned char, 12> date{0x07, 0xce, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};
    std::memcpy(bytes.data() + 24, date.data(), date.size());
    return bytes;
}

Bytes describedBytes(const Profile& profile, const char* description) {
    if (!profile)
        return {};
    cmsSetProfileVersion(profile.get(), 2.1);
    const std::unique_ptr<cmsMLU, decltype(&cmsMLUfree)> text(cmsMLUalloc(nullptr, 1), &cmsMLUfree);
    cmsMLUsetASCII(text.get(), "en", "US", description);
    cmsWriteTag(profile.get(), cmsSigProfileDescriptionTag, text.get());
    cmsMLUsetASCII(text.get(), "en", "US", "No copyright, use freely");
    cmsWriteTag(profile.get(), cmsSigCopyrightTag, text.get());
    return savedBytes(profile);
}

Profile genericCmyk() {
    VipsBlob* blob = nullptr;
    if (vips_profile_load("cmyk", &blob, nullptr) != 0 || !blob)
        return nullptr;
    std::size_t size = 0;
    const void* bytes = vips_blob_get(blob, &size);
    Profile profile(cmsOpenProfileFromMem(bytes, static_cast<cmsUInt32Number>(size)));
    vips_area_unref(VIPS_AREA(blob));
    return profile;
}

constexpr std::array allIntents{INTENT_PERCEPTUAL, INTENT_RELATIVE_COLORIMETRIC, INTENT_SATURATION,
                                INTENT_ABSOLUTE_COLORIMETRIC};

// That the tags are there says little: they may be damaged, and one may stand for another.
bool connects(const Profile& from, const Profile& to, cmsUInt32Number intent) {
    const auto format = [](const Profile& profile) {
        return cmsFormatterForColorspaceOfProfile(profile.get(), 2, FALSE);
    };
    const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
        cmsCreateTransform(from.get(), format(from), to.get(), format(to), intent,
                           cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE),
        &cmsDeleteTransform);
    return way != nullptr;
}

// A profile without tables takes the same way for every intent, and turning its curves round takes
// up to 40 ms each time.
bool hasWayBack(const Profile& lab, const Profile& profile) {
    const bool hasTables = std::ranges::any_of(
        std::array{cmsSigBToA0Tag, cmsSigBToA1Tag, cmsSigBToA2Tag, cmsSigBToD0Tag, cmsSigBToD1Tag,
                   cmsSigBToD2Tag, cmsSigBToD3Tag},
        [&](cmsTagSignature tag) { return cmsIsTag(profile.get(), tag); });
    if (!hasTables)
        return connects(lab, profile, INTENT_RELATIVE_COLORIMETRIC);
    return std::ranges::all_of(
        allIntents, [&](cmsUInt32Number intent) { return connects(lab, profile, intent); });
}

} // namespace

ToneCurve parametricCurve(int type, const std::vector<double>& parameters) {
    return {cmsBuildParametricToneCurve(nullptr, type, parameters.data()), &cmsFreeToneCurve};
}

ToneCurve srgbCurve() {
    // IEC 61966-2-1 in Little CMS's form: Y = (aX + b)^gamma for X >= d, else cX.
    return parametricCurve(4, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045});
}

Bytes rgbBytes(const Chromaticities& colors, const ToneCurve& curve, const char* description) {
    const auto& [xw, yw, xr, yr, xg, yg, xb, yb] = colors;
    const cmsCIExyY white{xw, yw, 1};
    const cmsCIExyYTRIPLE primaries{{xr, yr, 1}, {xg, yg, 1}, {xb, yb, 1}};
    const std::array curves{curve.get(), curve.get(), curve.get()};
    return describedBytes(Profile(cmsCreateRGBProfile(&white, &primaries, curves.data())),
                          description);
}

Bytes greyBytes(const ToneCurve& curve, const char* description) {
    return describedBytes(Profile(cmsCreateGrayProfile(cmsD50_xyY(), curve.get())), description);
}

Profile openProfile(std::span<const std::byte> bytes) {
    if (bytes.size() > protocol::maximumProfileBytes)
        return nullptr;
    return Profile(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
}

int channelsOf(const Profile& profile) {
    switch (profile ? cmsGetColorSpace(profile.get()) : cmsSigNamedData) {
    case cmsSigGrayData:
        return 1;
    case cmsSigRgbData:
        return 3;
    case cmsSigCmykData:
        return 4;
    default:
        return 0;
    }
}

bool describes(std::span<const std::byte> bytes, int channels) {
    const auto header = iccHeader(bytes);
    if (!header || header->size > bytes.size() || !header->isOfColors() || header->isLab() ||
        header->channels() != channels)
        return false;
    const Profile profile = openProfile(bytes);
    const Profile lab(cmsCreateLab4Profile(nullptr));
    return profile && std::ranges::all_of(allIntents, [&](cmsUInt32Number intent) {
               return connects(profile, lab, intent);
           });
}

PageSpace pageSpace(std::span<const std::byte> bytes) {
    const auto header = iccHeader(bytes);
    if (!header || header->size > bytes.size() || !header->isOfColors() || header->channels() == 0)
        return {};
    const Profile profile = openProfile(bytes);
    const Profile lab(cmsCreateLab4Profile(nullptr));
    if (!profile || !connects(profile, lab, INTENT_PERCEPTUAL))
        return {};
    return {header->channels(), header->profileClass != IccHeader::signature("scnr") &&
                                    !header->isLab() && hasWayBack(lab, profile)};
}

Profile sourceProfile(std::span<const std::byte> bytes, int channels) {
    if (!bytes.empty())
        return openProfile(bytes);
    switch (channels) {
    case 1:
        return Profile(cmsCreateGrayProfile(cmsD50_xyY(), srgbCurve().get()));
    case 4:
        return genericCmyk();
    default:
        return srgbProfile();
    }
}

Profile srgbProfile() {
    return Profile(cmsCreate_sRGBProfile());
}

const Bytes& adobeRgbBytes() {
    static const Bytes bytes =
        rgbBytes({0.3127, 0.3290, 0.64, 0.33, 0.21, 0.71, 0.15, 0.06},
                 parametricCurve(1, {563.0 / 256}), "Adobe RGB (1998) compatible");
    return bytes;
}

const Bytes& wideGamutBytes() {
    const auto [x, y, light] = *cmsD50_xyY();
    static const Bytes bytes =
        rgbBytes({x, y, 0.7347, 0.2653, 0.1596, 0.8404, 0.0366, 0.0001}, parametricCurve(1, {1.8}),
                 "Wide gamut RGB with the primaries of ROMM");
    return bytes;
}

const Bytes& labBytes() {
    static const Bytes bytes = savedBytes(Profile(cmsCreateLab4Profile(nullptr)));
    return bytes;
}

const Bytes& plainGreyBytes() {
    static const Bytes bytes = greyBytes(parametricCurve(1, {1.8}), "Grey, gamma 1.8");
    return bytes;
}

} // namespace lumivert::decoder
