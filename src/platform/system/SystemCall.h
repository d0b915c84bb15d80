#pragma once

#include <cerrno>
#include <cstddef>
#include <span>
#include <unistd.h>

namespace lumivert {

/// Repeats `call` while a signal interrupts it; its last result, -1 with errno set for a failure.
template <class Call>
auto retryingInterrupts(Call call) {
    while (true) {
        const auto result = call();
        if (result != -1 || errno != EINTR)
            return result;
    }
}

/// Writes all of `bytes`, however many calls that takes. False when the system refuses.
[[nodiscard]] inline bool writeAll(int fd, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written =
            retryingInterrupts([&] { return ::write(fd, bytes.data(), bytes.size()); });
        if (written <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace lumivert
