#include "model/Text.h"

#include <algorithm>
#include <array>
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
    std::size_t i = 0;
    const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    while (i < text.size()) {
        const std::uint8_t lead = byte(i);
        const std::size_t length = lead < 0x80                    ? 1
                                   : lead >= 0xc2 && lead <= 0xdf ? 2
                                   : lead >= 0xe0 && lead <= 0xef ? 3
                                   : lead >= 0xf0 && lead <= 0xf4 ? 4
                                                                  : 0;
        if (length == 0 || text.size() - i < length)
            return false;
        for (std::size_t k = 1; k < length; ++k)
            if ((byte(i + k) & 0xc0) != 0x80)
                return false;
        // The second byte's narrower ranges rule out overlong forms, surrogates and what lies
        // beyond U+10FFFF.
        if ((lead == 0xe0 && byte(i + 1) < 0xa0) || (lead == 0xed && byte(i + 1) > 0x9f) ||
            (lead == 0xf0 && byte(i + 1) < 0x90) || (lead == 0xf4 && byte(i + 1) > 0x8f))
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
