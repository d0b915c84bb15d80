#include "model/Uuid.h"

namespace lumivert {
namespace {

// Hyphens stand before these bytes.
constexpr bool hyphenBefore(std::size_t byteIndex) {
    return byteIndex == 4 || byteIndex == 6 || byteIndex == 8 || byteIndex == 10;
}

std::optional<std::uint8_t> hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return static_cast<std::uint8_t>(c - '0');
    if (c >= 'A' && c <= 'F')
        return static_cast<std::uint8_t>(c - 'A' + 10);
    if (c >= 'a' && c <= 'f')
        return static_cast<std::uint8_t>(c - 'a' + 10);
    return std::nullopt;
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
        const auto high = hexDigit(text[at++]);
        const auto low = hexDigit(text[at++]);
        if (!high || !low)
            return std::nullopt;
        result.bytes[i] = static_cast<std::uint8_t>(*high << 4 | *low);
    }
    return result;
}

} // namespace lumivert

std::size_t std::hash<lumivert::Uuid>::operator()(const lumivert::Uuid& value) const noexcept {
    return std::hash<std::string_view>{}(
        {reinterpret_cast<const char*>(value.bytes.data()), value.bytes.size()});
}
