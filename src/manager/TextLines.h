#pragma once

#include "model/Utf8.h"

#include <string>
#include <string_view>
#include <vector>

// The plain string work that tool output and PPD files are read with. Views look into the argument.
namespace lumivert {

/// The pieces of `text` between single separators; empty pieces are kept, so that the result has
/// one piece more than `text` has separators.
[[nodiscard]] std::vector<std::string_view> split(std::string_view text, char separator);

/// `text` without the spaces and tabs at both ends. Line breaks stay.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// `text` without any `character`.
[[nodiscard]] std::string without(std::string_view text, char character);

} // namespace lumivert
