#pragma once

#include "decoder/Profiles.h"

/// Colours that are stated by ITU-T H.273's code points, or as plainly.
namespace lumivert::decoder {

/// Table 2; null for what has no number here.
[[nodiscard]] const Chromaticities* chromaticitiesOf(int primaries);

/// A profile for 1 or 3 channels; empty for other numbers of them.
[[nodiscard]] Bytes profileWith(const Chromaticities& colors, const ToneCurve& curve, int channels);

/// The same by a transfer of table 3, and of its primaries by table 2; empty where they are not
/// known. Light brighter than paper (PQ, HLG) is brought down to it by the curve of ITU-R BT.2390,
/// 5.4.1, in each channel: from 1000 cd/m², with 203 cd/m² (BT.2408) for a paper's white.
[[nodiscard]] Bytes profileOf(int primaries, int transfer, int channels);
[[nodiscard]] Bytes profileOf(const Chromaticities& colors, int transfer, int channels);

} // namespace lumivert::decoder
