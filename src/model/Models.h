#pragma once

#include "model/HashFields.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// The values in which the whole program speaks of a print job. Records are compared and hashed
// member by member; a list is searched by `id`, exactly and case-sensitively. Every length is in
// millimetres.
namespace lumivert {

/// One CUPS queue. `id` addresses the queue in CUPS commands, `name` is shown.
struct Printer {
    std::string id;
    std::string name;

    bool operator==(const Printer&) const = default;
    [[nodiscard]] std::size_t hashValue() const { return hashFields(id, name); }
};

/// One sheet size that a queue offers.
struct PaperSize {
    std::string id;
    std::string name;
    double widthMM = 0;
    double heightMM = 0;
    /// The PPD choice handed to CUPS for this size.
    std::string cupsName;
    /// The choice of the borderless variant; absent where the queue offers none.
    std::optional<std::string> cupsFullbleedName;

    bool operator==(const PaperSize&) const = default;
    [[nodiscard]] std::size_t hashValue() const {
        return hashFields(id, name, widthMM, heightMM, cupsName, cupsFullbleedName);
    }
};

/// One media type that a queue accepts.
struct PaperType {
    std::string id;
    std::string name;
    std::string cupsMediaType;

    bool operator==(const PaperType&) const = default;
    [[nodiscard]] std::size_t hashValue() const { return hashFields(id, name, cupsMediaType); }
};

/// One colour profile that can be chosen; `path` is absent for the printer-managed entry.
struct ICCProfile {
    std::string id;
    std::string name;
    std::optional<std::string> path;
    bool isSystem = false;

    bool operator==(const ICCProfile&) const = default;
    [[nodiscard]] std::size_t hashValue() const { return hashFields(id, name, path, isSystem); }
};

/// The page margins in millimetres, always listed in this order.
struct Margins {
    double top = 0;
    double bottom = 0;
    double left = 0;
    double right = 0;

    bool operator==(const Margins&) const = default;
};

// The records that stand in where a list is empty or lacks the stored selection.

[[nodiscard]] inline PaperSize defaultPaperSize() {
    return {.id = "A4",
            .name = "A4 (210 × 297 mm)",
            .widthMM = 210.0,
            .heightMM = 297.0,
            .cupsName = "A4",
            .cupsFullbleedName = std::nullopt};
}
[[nodiscard]] inline PaperType automaticPaperType() {
    return {.id = "auto", .name = "Auto", .cupsMediaType = "auto"};
}
[[nodiscard]] inline ICCProfile printerManagedProfile() {
    return {.id = "printer_managed",
            .name = "Printer Managed (standard)",
            .path = std::nullopt,
            .isSystem = false};
}

enum class PaperOrientation { auto_, portrait, landscape };
enum class SizingMode { margins, imageSize };
enum class ScalingMode { fitToPage, fillPage, actualSize };
enum class RenderingIntent { perceptual, relative, saturation, absolute };

/// The cases of a choice in the order shown, each with its raw value: at once the text shown, the
/// identity and the stored form.
template <class Choice>
struct ChoiceTable;

template <>
struct ChoiceTable<PaperOrientation> {
    static constexpr std::array<std::pair<PaperOrientation, std::string_view>, 3> cases{{
        {PaperOrientation::auto_, "Auto"},
        {PaperOrientation::portrait, "Portrait"},
        {PaperOrientation::landscape, "Landscape"},
    }};
};

template <>
struct ChoiceTable<SizingMode> {
    static constexpr std::array<std::pair<SizingMode, std::string_view>, 2> cases{{
        {SizingMode::margins, "Margins"},
        {SizingMode::imageSize, "Image Size"},
    }};
};

template <>
struct ChoiceTable<ScalingMode> {
    static constexpr std::array<std::pair<ScalingMode, std::string_view>, 3> cases{{
        {ScalingMode::fitToPage, "Fit to Page"},
        {ScalingMode::fillPage, "Fill Page (crop)"},
        {ScalingMode::actualSize, "Actual Size"},
    }};
};

template <>
struct ChoiceTable<RenderingIntent> {
    static constexpr std::array<std::pair<RenderingIntent, std::string_view>, 4> cases{{
        {RenderingIntent::perceptual, "Perceptual"},
        {RenderingIntent::relative, "Relative Colorimetric"},
        {RenderingIntent::saturation, "Saturation"},
        {RenderingIntent::absolute, "Absolute Colorimetric"},
    }};
};

/// Every case, in the order shown.
template <class Choice>
[[nodiscard]] constexpr auto allCases() {
    std::array<Choice, ChoiceTable<Choice>::cases.size()> result{};
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = ChoiceTable<Choice>::cases[i].first;
    return result;
}

/// The raw value of a case.
template <class Choice>
[[nodiscard]] constexpr std::string_view rawValue(Choice choice) {
    for (const auto& [value, text] : ChoiceTable<Choice>::cases)
        if (value == choice)
            return text;
    return {};
}

/// The case whose raw value is exactly `text`; nothing for any other text.
template <class Choice>
[[nodiscard]] constexpr std::optional<Choice> fromRawValue(std::string_view text) {
    for (const auto& [value, caseText] : ChoiceTable<Choice>::cases)
        if (caseText == text)
            return value;
    return std::nullopt;
}

/// The identity of a choice in any list keyed by identity: its raw value.
template <class Choice>
[[nodiscard]] constexpr std::string_view id(Choice choice) {
    return rawValue(choice);
}

} // namespace lumivert
