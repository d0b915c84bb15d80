#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace lumivert {

/// A universally unique identifier (RFC 9562), compared by its 16 bytes.
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    /// The canonical 36 characters, 8-4-4-4-12, in upper case.
    [[nodiscard]] std::string text() const;

    /// Reads the canonical form in either case; nothing for any other text.
    [[nodiscard]] static std::optional<Uuid> fromText(std::string_view text);

    bool operator==(const Uuid&) const = default;
};

} // namespace lumivert

template <>
struct std::hash<lumivert::Uuid> {
    std::size_t operator()(const lumivert::Uuid& value) const noexcept;
};
