#include "platform/FatalError.h"

#include <cstdio>
#include <cstdlib>

namespace lumivert {

void fatalError(std::string_view message) {
    std::fflush(stdout);
    std::fprintf(stderr, "Lumivert: %.*s\n", static_cast<int>(message.size()), message.data());
    // Destructors would run against a state that was just declared broken.
    std::_Exit(EXIT_FAILURE);
}

} // namespace lumivert
