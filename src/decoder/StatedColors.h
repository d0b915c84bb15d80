#pragma once

#include "decoder/Containers.h"
#include "decoder/Profiles.h"

/// What a file says of its colours otherwise than by an ICC profile, as a profile for 1 or 3
/// channels. Empty where it says nothing, or nothing whose meaning is known.
namespace lumivert::decoder {

/// By the primaries and the transfer of ITU-T H.273, tables 2 and 3. Light brighter than paper
/// (PQ, HLG) is brought down to it by the curve of ITU-R BT.2390, 5.4.1, in each channel: from
/// 1000 cd/m², with 203 cd/m² (BT.2408) for a paper's white.
[[nodiscard]] Bytes profileOf(int primaries, int transfer, int channels);

/// PNG, 3rd edition, 4.3: of the chunks cICP, sRGB, gAMA with cHRM the first that is there and
/// whose meaning is known. A profile in iCCP stands behind cICP and before the others:
/// `isAboveProfile` asks for cICP alone.
[[nodiscard]] Bytes pngProfile(ByteView file, int channels, bool isAboveProfile);

/// The main picture's colr box of type nclx (ISO/IEC 23008-12), through libheif.
[[nodiscard]] Bytes heifProfile(ByteView file, int channels);

} // namespace lumivert::decoder
