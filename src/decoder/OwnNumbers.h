#pragma once

#include "decoder/Profiles.h"

#include <vips/vips8>

namespace lumivert::decoder {

struct OwnNumbers {
    vips::VImage pixels;
    /// What the numbers mean; empty for plain device numbers.
    Bytes profile;
};

/// The photo's own numbers in the form that paper takes: 1, 3 or 4 channels of 8 or 16 bits. Alpha
/// is flattened on white, integers wider than 16 bits lose their low bits, floats are clipped to 0
/// to 1: with a profile as its device numbers, without as linear light of sRGB's primaries. CIELAB
/// and other spaces that no device has become CIELAB of 16 bits, with labBytes(); `isIccLab` says
/// that the numbers are ICCLab's of TIFF. A profile that does not fit the channels is ignored.
[[nodiscard]] OwnNumbers ownNumbers(vips::VImage image, const Bytes& embeddedProfile,
                                    bool isIccLab);

} // namespace lumivert::decoder
