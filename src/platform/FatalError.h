#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace lumivert {

/// Ends the program with status 1 after the line "Lumivert: " + `message` on standard error. For
/// what cannot be gone on from: a broken contract in the code, a paper whose size is no number.
[[noreturn]] inline void fatalError(std::string_view message) {
    std::fflush(stdout);
    std::fprintf(stderr, "Lumivert: %.*s\n", static_cast<int>(message.size()), message.data());
    // Destructors would run against a state that was just declared broken.
    std::_Exit(EXIT_FAILURE);
}

} // namespace lumivert
