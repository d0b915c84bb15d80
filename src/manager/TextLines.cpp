#include "manager/TextLines.h"

#include <algorithm>
#include <iterator>

namespace lumivert {

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

} // namespace lumivert
