#pragma once

#include <string_view>

namespace lumivert {

/// Whether `text` is UTF-8 (RFC 3629: no overlong form, no surrogate, nothing above U+10FFFF).
[[nodiscard]] bool isUtf8(std::string_view text);

} // namespace lumivert
