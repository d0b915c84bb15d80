#include "model/PrintPreset.h"

#include "model/HashFields.h"
#include "model/Models.h"
#include "model/NumberText.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <concepts>
#include <type_traits>

namespace lumivert {
namespace {

using Json = nlohmann::json;

bool read(const Json& value, Uuid& field) {
    const auto uuid =
        value.is_string() ? Uuid::fromText(value.get_ref<const std::string&>()) : std::nullopt;
    if (uuid)
        field = *uuid;
    return uuid.has_value();
}

bool read(const Json& value, std::string& field) {
    if (value.is_string())
        field = value.get<std::string>();
    return value.is_string();
}

bool read(const Json& value, bool& field) {
    if (value.is_boolean())
        field = value.get<bool>();
    return value.is_boolean();
}

bool read(const Json& value, double& field) {
    if (value.is_number())
        field = value.get<double>();
    return value.is_number() && std::isfinite(field);
}

std::optional<PrintPreset> presetFrom(const Json& object) {
    if (!object.is_object())
        return std::nullopt;
    PrintPreset preset;
    bool complete = true;
    forEachField(preset, [&](const char* key, auto& field) {
        const auto found = object.find(key);
        complete = complete && found != object.end() && read(*found, field);
    });
    return complete ? std::optional(preset) : std::nullopt;
}

} // namespace

std::optional<std::string> encodePresets(const std::vector<PrintPreset>& presets) {
    Json document = Json::array();
    bool encodable = true;
    for (const PrintPreset& preset : presets) {
        Json& object = document.emplace_back(Json::object());
        forEachField(preset, [&](const char* key, const auto& field) {
            using Field = std::remove_cvref_t<decltype(field)>;
            if constexpr (std::same_as<Field, double>)
                encodable = encodable && std::isfinite(field);
            if constexpr (std::same_as<Field, Uuid>)
                object[key] = field.text();
            else
                object[key] = field;
        });
    }
    if (!encodable)
        return std::nullopt;
    try {
        return document.dump();
    } catch (const Json::type_error&) { // a text that is not UTF-8
        return std::nullopt;
    }
}

std::optional<std::vector<PrintPreset>> decodePresets(std::string_view text) {
    // The parser takes a NUL for the end of its input.
    if (text.find('\0') != std::string_view::npos)
        return std::nullopt;
    const Json document = Json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (!document.is_array())
        return std::nullopt;
    std::vector<PrintPreset> presets;
    presets.reserve(document.size());
    for (const Json& object : document) {
        auto preset = presetFrom(object);
        if (!preset)
            return std::nullopt;
        presets.push_back(std::move(*preset));
    }
    return presets;
}

std::string presetSummary(const PrintPreset& preset) {
    const std::string separator = " · ";
    std::string size;
    if (preset.sizingMode == rawValue(SizingMode::imageSize)) {
        size = truncatedText(preset.imageWidthMM) + "×" + truncatedText(preset.imageHeightMM);
    } else {
        size = "T" + fixedText(preset.marginTop, 0) + " B" + fixedText(preset.marginBottom, 0) +
               " L" + fixedText(preset.marginLeft, 0) + " R" + fixedText(preset.marginRight, 0);
    }
    return preset.paperSizeID + separator + size + "mm" + separator + preset.scalingMode;
}

} // namespace lumivert

std::size_t
std::hash<lumivert::PrintPreset>::operator()(const lumivert::PrintPreset& value) const noexcept {
    std::size_t seed = 0;
    lumivert::forEachField(
        value, [&](const char*, const auto& field) { seed = lumivert::hashFields(seed, field); });
    return seed;
}
