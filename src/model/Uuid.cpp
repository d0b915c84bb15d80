#include "model/Uuid.h"

#include <charconv>

namespace lumivert {
namespace {

// Hyphens stand before these bytes.
constexpr bool hyphenBefore(std::size_t byteIndex) {
    return byteIndex == 4 || byteIndex == 6 || byteIndex == 8 || byteIndex == 10;
}

} // namespace

std::string Uuid::text() const {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    result.reserve(36);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (hyphenBefore(i))
            result += '-';
        result += digits[bytes[i] >> 4];
        result += digits[bytes[i] & 0xf];
    }
    return result;
}

std::optional<Uuid> Uuid::fromText(std::string_view text) {
    if (text.size() != 36)
        return std::nullopt;
    Uuid result;
    std::size_t at = 0;
    for (std::size_t i = 0; i < result.bytes.size(); ++i) {
        if (hyphenBefore(i) && text[at++] != '-')
            return std::nullopt;
        const char* digits = text.data() + at;
        at += 2;
        if (std::from_chars(digits, digits + 2, result.bytes[i], 16).ptr != digits + 2)
            return std::nullopt;
    }
    return result;
}

} // namespace lumivert
