#include "model/Text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace lumivert {

std::string lowerCased(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return result;
}

bool isUtf8(std::string_view text) {
    // The least code point of each length: a shorter form exists for those below.
    constexpr std::array<std::uint32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<std::uint8_t>(text[i]);
        const auto ones = static_cast<std::size_t>(std::countl_one(lead));
        const std::size_t length = std::max<std::size_t>(ones, 1);
        if (ones == 1 || length > 4 || text.size() - i < length)
            return false;
        std::uint32_t codePoint = lead & (0x7fU >> ones);
        for (const char next : text.substr(i + 1, length - 1)) {
            if ((next & 0xc0) != 0x80)
                return false;
            codePoint = codePoint << 6 | (next & 0x3fU);
        }
        if (codePoint < least[length] || codePoint > 0x10ffff ||
            (codePoint >= 0xd800 && codePoint <= 0xdfff))
            return false;
        i += length;
    }
    return true;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const auto at = text.find(separator);
        pieces.push_back(text.substr(0, at));
        if (at == std::string_view::npos)
            return pieces;
        text.remove_prefix(at + 1);
    }
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string without(std::string_view text, char character) {
    std::string result;
    std::remove_copy(text.begin(), text.end(), std::back_inserter(result), character);
    return result;
}

std::optional<std::string> uuidText(std::string_view text) {
    constexpr std::string_view shape = "00000000-0000-0000-0000-000000000000";
    const auto fits = [](char wanted, char c) {
        return wanted == '-' ? c == '-' : std::string_view("0123456789ABCDEF").find(c) < 16;
    };
    std::string upper(text);
    for (char& c : upper)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return std::ranges::equal(shape, upper, fits) ? std::optional(upper) : std::nullopt;
}

std::string fixedText(double value, int decimals) {
    // The largest double has 309 digits before the point.
    std::array<char, 352> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value,
                                            std::chars_format::fixed, decimals);
    return error == std::errc{} ? std::string(text.data(), end) : std::string{};
}

std::string truncatedText(double value) {
    // Adding zero turns the -0 that truncation leaves of -0.5 into 0.
    return fixedText(std::trunc(value) + 0.0, 0);
}

std::string millimetresText(double value) {
    return fixedText(value, 1) + " mm";
}

} // namespace lumivert
