#pragma once

#include "platform/Bytes.h"

#include <lcms2.h>

#include <array>
#include <memory>
#include <span>
#include <vector>

/// ICC profiles in the decoder. Those made here have the same bytes every time.
namespace lumivert::decoder {

struct CloseProfile {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
/// Null for none.
using Profile = std::unique_ptr<void, CloseProfile>;

using ToneCurve = std::unique_ptr<cmsToneCurve, decltype(&cmsFreeToneCurve)>;
/// One of Little CMS's parametric curves (cmsBuildParametricToneCurve).
[[nodiscard]] ToneCurve parametricCurve(int type, const std::vector<double>& parameters);
/// That of sRGB.
[[nodiscard]] ToneCurve srgbCurve();

/// x and y of white, red, green and blue.
using Chromaticities = std::array<double, 8>;

/// The bytes of a profile, in version 2 (what a reader of PDF 1.4 knows); empty where no profile
/// can be made of that.
[[nodiscard]] Bytes rgbBytes(const Chromaticities& colors, const ToneCurve& curve,
                             const char* description);
[[nodiscard]] Bytes greyBytes(const ToneCurve& curve, const char* description);

/// Null where the bytes are no profile, or more than 64 MiB.
[[nodiscard]] Profile openProfile(std::span<const std::byte> bytes);

/// 1 for a grey, 3 for an RGB, 4 for a CMYK profile; 0 for any other and for none.
[[nodiscard]] int channelsOf(const Profile& profile);

/// Whether the bytes are a profile that says what pixels of so many channels mean, undamaged as far
/// as that takes: Little CMS finds a way from them to CIELAB for every intent.
[[nodiscard]] bool describes(std::span<const std::byte> bytes, int channels);

/// What a page can do with a profile that a person chose.
struct PageSpace {
    /// 1 grey, 3 RGB or CIELAB, 4 CMYK; 0 where it cannot be drawn in: the profile is damaged, is
    /// none of colours (a device link), or its colours have no way to the connection space.
    int channels = 0;
    /// Whether colours can be converted into it: device numbers of no input device, with the way
    /// back from the connection space for every intent.
    bool isDestination = false;
};
[[nodiscard]] PageSpace pageSpace(std::span<const std::byte> bytes);

/// What pixels mean: `bytes`, or where they are empty sRGB, grey with sRGB's curve, or the generic
/// CMYK that libvips carries.
[[nodiscard]] Profile sourceProfile(std::span<const std::byte> bytes, int channels);

/// IEC 61966-2-1.
[[nodiscard]] Profile srgbProfile();

/// Adobe RGB (1998) Color Image Encoding, version 2005-05, 4.3.
[[nodiscard]] const Bytes& adobeRgbBytes();

/// CIELAB of 16 bits as ICC.1 (version 4) encodes it.
[[nodiscard]] const Bytes& labBytes();

/// ROMM RGB's primaries and white (ISO 22028-2) with a plain gamma of 1.8; holds every colour of
/// CIELAB photos and camera RAW that paper can show.
[[nodiscard]] const Bytes& wideGamutBytes();

/// Grey with a plain gamma of 1.8.
[[nodiscard]] const Bytes& plainGreyBytes();

} // namespace lumivert::decoder
