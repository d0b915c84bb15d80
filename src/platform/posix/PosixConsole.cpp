#include "platform/posix/PosixConsole.h"

#include "platform/posix/SystemCall.h"

#include <cstdio>
#include <string_view>
#include <unistd.h>

namespace lumivert {

void PosixConsole::writeLine(const std::string& line) {
    std::fflush(stdout);
    const std::string text = line + '\n';
    for (std::string_view left = text; !left.empty();) {
        const ssize_t written =
            retryingInterrupts([&] { return ::write(STDOUT_FILENO, left.data(), left.size()); });
        if (written <= 0)
            return;
        left.remove_prefix(static_cast<std::size_t>(written));
    }
}

} // namespace lumivert
