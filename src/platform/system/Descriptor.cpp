#include "platform/system/Descriptor.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <poll.h>

namespace lumivert {

bool writeAll(int fd, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written =
            retryingInterrupts([&] { return ::write(fd, bytes.data(), bytes.size()); });
        if (written <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

bool readToEnd(int fd, std::string& bytes) {
    std::array<char, 65536> buffer{};
    while (true) {
        const ssize_t count =
            retryingInterrupts([&] { return ::read(fd, buffer.data(), buffer.size()); });
        if (count <= 0)
            return count == 0;
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

bool waitReadable(int fd, std::chrono::steady_clock::time_point deadline) {
    using namespace std::chrono;
    pollfd entry{fd, POLLIN, 0};
    return retryingInterrupts([&] {
               const auto left = ceil<milliseconds>(deadline - steady_clock::now()).count();
               return ::poll(&entry, 1,
                             static_cast<int>(std::clamp<std::int64_t>(
                                 left, 0, std::numeric_limits<int>::max())));
           }) > 0;
}

} // namespace lumivert
