#pragma once

#include "decoder/Profiles.h"

#include <string_view>

namespace lumivert::decoder::test {

/// An RGB profile as a printer's is: grids of 33 points a side between the device and CIELAB.
struct TableRgb {
    /// The way from the device for the perceptual intent only; every reader takes it for the
    /// others.
    bool hasOnlyPerceptual = false;
    /// By how much of 65535 the device's numbers jump from one point of their grid to the next.
    int jumps = 0;
    /// The paper, relative to a perfect reflector.
    cmsCIEXYZ paper = *cmsD50_XYZ();

    [[nodiscard]] Profile profile() const;
};

[[nodiscard]] Bytes profileBytes(const Profile& profile);

/// The profile with the tag's first eight bytes, its type, destroyed.
[[nodiscard]] Bytes withDamagedTag(Bytes profile, std::string_view tag);
/// The profile without the tag.
[[nodiscard]] Bytes withoutTag(Bytes profile, std::string_view tag);

} // namespace lumivert::decoder::test
