#pragma once

#include "model/HashFields.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivert {

/// A named snapshot of every page and colour setting, without printer or image. Choices are kept as
/// their raw-value text, selections as `id`s that no list need hold. Lengths are in millimetres.
struct PrintPreset {
    /// A UUID, as uuidText() has it.
    std::string id;
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
    [[nodiscard]] std::size_t hashValue() const;
};

/// A field that a preset keeps, with its key in the stored document.
template <class Field>
struct Kept {
    const char* key;
    Field& value;
};
template <class Field>
Kept(const char*, Field&) -> Kept<Field>;

/// The one list of the settings that presets keep, in the order in which they are applied: it
/// serves saving, applying, storing and hashing. Calls `visit(fields…, property)` for each setting
/// of the PrintPreset `p`; `property` points at the setting's property in the state that has them
/// all (the print manager). Margins are one setting of four fields.
template <class Preset, class Visit>
void forEachSetting(Preset& p, Visit&& visit) {
    visit(Kept{"paperSizeID", p.paperSizeID}, [](auto& s) { return &s.selectedPaperSizeID; });
    visit(Kept{"paperTypeID", p.paperTypeID}, [](auto& s) { return &s.selectedPaperTypeID; });
    visit(Kept{"orientation", p.orientation}, [](auto& s) { return &s.orientation; });
    visit(Kept{"borderless", p.borderless}, [](auto& s) { return &s.borderless; });
    visit(Kept{"sizingMode", p.sizingMode}, [](auto& s) { return &s.sizingMode; });
    visit(Kept{"marginTop", p.marginTop}, Kept{"marginBottom", p.marginBottom},
          Kept{"marginLeft", p.marginLeft}, Kept{"marginRight", p.marginRight},
          [](auto& s) { return &s.margins; });
    visit(Kept{"imageWidthMM", p.imageWidthMM}, [](auto& s) { return &s.imageWidthMM; });
    visit(Kept{"imageHeightMM", p.imageHeightMM}, [](auto& s) { return &s.imageHeightMM; });
    visit(Kept{"imageSizeCentered", p.imageSizeCentered},
          [](auto& s) { return &s.imageSizeCentered; });
    visit(Kept{"imageSizeMarginTop", p.imageSizeMarginTop},
          [](auto& s) { return &s.imageSizeMarginTop; });
    visit(Kept{"imageSizeMarginLeft", p.imageSizeMarginLeft},
          [](auto& s) { return &s.imageSizeMarginLeft; });
    visit(Kept{"scalingMode", p.scalingMode}, [](auto& s) { return &s.scalingMode; });
    visit(Kept{"iccProfileID", p.iccProfileID}, [](auto& s) { return &s.selectedICCProfileID; });
    visit(Kept{"renderingIntent", p.renderingIntent}, [](auto& s) { return &s.renderingIntent; });
}

/// Calls `visit(key, field)` for every field, `id` and `name` first.
template <class Preset, class Visit>
void forEachField(Preset& p, Visit&& visit) {
    visit("id", p.id);
    visit("name", p.name);
    const auto visitField = [&](const auto& part) {
        if constexpr (requires { part.key; })
            visit(part.key, part.value);
    };
    forEachSetting(p, [&](const auto&... parts) { (visitField(parts), ...); });
}

/// The stored document: compact UTF-8 JSON, an array of objects of exactly the fields' keys, in
/// list order. Nothing when a value has no JSON form: a length that is not finite, a text that is
/// not UTF-8.
[[nodiscard]] std::optional<std::string> encodePresets(const std::vector<PrintPreset>& presets);

/// The presets of a stored document, in order; keys of no field are ignored. Nothing when any
/// element lacks a key, has one of another type, or an `id` that is no UUID, and when anything but
/// white space stands around the array.
[[nodiscard]] std::optional<std::vector<PrintPreset>> decodePresets(std::string_view document);

/// The line shown under a preset's name. Margins are rounded, image sizes are cut off: kept so.
[[nodiscard]] std::string presetSummary(const PrintPreset& preset);

} // namespace lumivert
