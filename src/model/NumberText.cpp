#include "model/NumberText.h"

#include <array>
#include <charconv>
#include <cmath>

namespace lumivert {

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
