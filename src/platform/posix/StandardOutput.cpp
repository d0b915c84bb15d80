#include "platform/posix/StandardOutput.h"

#include "platform/system/SystemCall.h"

#include <cstdio>
#include <span>
#include <unistd.h>

namespace lumivert {

void writeLine(const std::string& line) {
    std::fflush(stdout);
    const std::string text = line + '\n';
    (void)writeAll(STDOUT_FILENO, std::as_bytes(std::span(text)));
}

} // namespace lumivert
