#pragma once

#include <string>
#include <string_view>

namespace lumivert {

/// `c`, or the small letter of a capital one of ASCII; whatever the locale.
[[nodiscard]] constexpr char lowerCased(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The same for each byte of `text`.
[[nodiscard]] inline std::string lowerCased(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = lowerCased(c);
    return result;
}

} // namespace lumivert
