#pragma once

#include "model/Uuid.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivert {

/// A named snapshot of every page and colour setting, without printer or image. Choices are kept as
/// their raw-value text, selections as `id`s that no list need hold. Lengths are in millimetres.
struct PrintPreset {
    Uuid id;
    std::string name;
    std::string paperSizeID;
    std::string paperTypeID;
    std::string orientation;
    bool borderless = false;
    std::string sizingMode;
    double marginTop = 0;
    double marginBottom = 0;
    double marginLeft = 0;
    double marginRight = 0;
    double imageWidthMM = 0;
    double imageHeightMM = 0;
    bool imageSizeCentered = false;
    double imageSizeMarginTop = 0;
    double imageSizeMarginLeft = 0;
    std::string scalingMode;
    std::string iccProfileID;
    std::string renderingIntent;

    bool operator==(const PrintPreset&) const = default;
};

/// The stored document: compact UTF-8 JSON, an array of objects of exactly the 19 keys, in list
/// order. Nothing when a value has no JSON form: a length that is not finite, a text that is not
/// UTF-8.
[[nodiscard]] std::optional<std::string> encodePresets(const std::vector<PrintPreset>& presets);

/// The presets of a stored document, in order; keys beyond the 19 are ignored. Nothing when any
/// element lacks a key, has one of another type, or an `id` that is no UUID.
[[nodiscard]] std::optional<std::vector<PrintPreset>> decodePresets(std::string_view document);

/// The line shown under a preset's name. Margins are rounded, image sizes are cut off: kept so.
[[nodiscard]] std::string presetSummary(const PrintPreset& preset);

} // namespace lumivert

template <>
struct std::hash<lumivert::PrintPreset> {
    std::size_t operator()(const lumivert::PrintPreset& value) const noexcept;
};
