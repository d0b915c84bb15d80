#pragma once

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <span>
#include <string>

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
[[nodiscard]] bool writeAll(int fd, std::span<const std::byte> bytes);

/// Appends what `fd` holds from its position up to end of file. False when reading failed before
/// the end; `bytes` then has what came until then.
[[nodiscard]] bool readToEnd(int fd, std::string& bytes);

/// Waits until the descriptor can be read or its other end has closed; false at `deadline`.
[[nodiscard]] bool waitReadable(int fd, std::chrono::steady_clock::time_point deadline);

} // namespace lumivert
