#pragma once

#include "decoder/Containers.h"
#include "decoder/Profiles.h"

#include <optional>

namespace lumivert::decoder {

/// What a file says of its colours otherwise than by an ICC profile.
struct StatedColors {
    /// By ITU-T H.273, tables 2 and 3; 2 is "unspecified".
    int primaries = 2;
    int transfer = 2;
    /// Of the file's numbers, in place of `transfer`: 0.45455 and the like (PNG, gAMA).
    std::optional<double> gamma = std::nullopt;
    /// In place of `primaries` (PNG, cHRM).
    std::optional<Chromaticities> chromaticities = std::nullopt;
};

/// PNG, 3rd edition, 4.3: of the chunks cICP, sRGB, gAMA with cHRM the first that is there and
/// whose meaning is known. A profile in iCCP stands behind cICP and before the others:
/// `isAboveProfile` asks for cICP alone.
[[nodiscard]] std::optional<StatedColors> pngColors(ByteView file, bool isAboveProfile);

/// The main picture's colr box of type nclx (ISO/IEC 23008-12), through libheif.
[[nodiscard]] std::optional<StatedColors> heifColors(ByteView bytes);

/// A profile with that meaning for 1 or 3 channels; empty where it is not known. Light brighter
/// than paper (PQ, HLG) is brought down to it by the curve of ITU-R BT.2390, 5.4.1, in each
/// channel: from 1000 cd/m², with 203 cd/m² (BT.2408) for a paper's white.
[[nodiscard]] Bytes profileOf(const StatedColors& colors, int channels);

} // namespace lumivert::decoder
