#include "model/PrintPreset.h"

#include "model/Models.h"
#include "model/Text.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <concepts>
#include <type_traits>

namespace lumivert {
namespace {

using Json = nlohmann::json;

// A value of another type throws: the library converts neither booleans nor texts to these.
template <class Field>
void read(const Json& value, Field& field) {
    static_assert(std::same_as<Field, std::string> || std::same_as<Field, bool> ||
                      std::same_as<Field, double>,
                  "say here how a field of this type is read, and what else is refused");
    value.get_to(field);
}

} // namespace

std::size_t PrintPreset::hashValue() const {
    std::size_t hash = 0;
    forEachField(*this, [&](const char*, const auto& field) { hash = hashFields(hash, field); });
    return hash;
}

std::optional<std::string> encodePresets(const std::vector<PrintPreset>& presets) {
    Json document = Json::array();
    bool encodable = true;
    for (const PrintPreset& preset : presets) {
        Json& object = document.emplace_back(Json::object());
        forEachField(preset, [&](const char* key, const auto& field) {
            using Field = std::remove_cvref_t<decltype(field)>;
            if constexpr (std::same_as<Field, double>)
                encodable = encodable && std::isfinite(field);
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
    try {
        std::vector<PrintPreset> presets;
        for (const Json& object : document) {
            PrintPreset& preset = presets.emplace_back();
            forEachField(preset,
                         [&](const char* key, auto& field) { read(object.at(key), field); });
            preset.id = uuidText(preset.id).value();
        }
        return presets;
    } catch (const Json::exception&) { // a key is missing, or its value is of another type
        return std::nullopt;
    } catch (const std::bad_optional_access&) { // the text is no UUID
        return std::nullopt;
    }
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
