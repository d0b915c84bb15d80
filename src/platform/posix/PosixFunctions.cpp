#include "platform/posix/PosixFunctions.h"

#include "platform/FatalError.h"
#include "platform/system/Descriptor.h"

#include <cstdio>
#include <sys/random.h>

namespace lumivert {

Uuid randomUuid() {
    Uuid uuid;
    // Up to 256 bytes come whole or not at all (getrandom(2)).
    if (retryingInterrupts([&] { return ::getrandom(uuid.bytes.data(), uuid.bytes.size(), 0); }) !=
        static_cast<ssize_t>(uuid.bytes.size()))
        fatalError("The system gives no random numbers");
    // RFC 9562, 5.4: version 4 in the high half of byte 6, variant 10 in the top bits of byte 8.
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0f) | 0x40);
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3f) | 0x80);
    return uuid;
}

void writeLine(const std::string& line) {
    std::fflush(stdout);
    const std::string text = line + '\n';
    (void)writeAll(STDOUT_FILENO, std::as_bytes(std::span(text)));
}

} // namespace lumivert
