#include "platform/posix/ReadToEnd.h"

#include "platform/system/SystemCall.h"

#include <array>
#include <unistd.h>

namespace lumivert {

bool readToEnd(int fd, std::string& bytes) {
    std::array<char, 65536> buffer{};
    while (true) {
        const ssize_t count =
            retryingInterrupts([&] { return ::read(fd, buffer.data(), buffer.size()); });
        if (count < 0)
            return false;
        if (count == 0)
            return true;
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

} // namespace lumivert
