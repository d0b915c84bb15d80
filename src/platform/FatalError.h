#pragma once

#include <string_view>

namespace lumivert {

/// Ends the program with status 1 after the line "Lumivert: " + `message` on standard error. For
/// what cannot be gone on from: a broken contract in the code, a paper whose size is no number.
[[noreturn]] void fatalError(std::string_view message);

} // namespace lumivert
