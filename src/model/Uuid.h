#pragma once

#include "model/HashFields.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace lumivert {

/// A universally unique identifier (RFC 9562), compared by its 16 bytes.
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    /// The canonical 36 characters, 8-4-4-4-12, in upper case.
    [[nodiscard]] std::string text() const;

    /// Reads the canonical form in either case; nothing for any other text.
    [[nodiscard]] static std::optional<Uuid> fromText(std::string_view text);

    bool operator==(const Uuid&) const = default;
    [[nodiscard]] std::tuple<std::string_view> fields() const {
        return {{reinterpret_cast<const char*>(bytes.data()), bytes.size()}};
    }
};

} // namespace lumivert
