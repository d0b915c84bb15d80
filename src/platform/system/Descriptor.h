#pragma once

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <span>
#include <string>
#include <unistd.h>
#include <utility>

namespace lumivert {

/// Owns a file descriptor, or none.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd)
        : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }

    [[nodiscard]] int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }

    void reset() {
        // Not repeated after EINTR: Linux has released the descriptor by then (close(2)).
        if (m_fd >= 0)
            ::close(std::exchange(m_fd, -1));
    }

    /// Gives up ownership.
    [[nodiscard]] int release() { return std::exchange(m_fd, -1); }

private:
    int m_fd = -1;
};

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

/// Waits until the descriptor can be read or its other end has closed; false at `deadline`, and at
/// once when this process is to end.
[[nodiscard]] bool waitReadable(int fd, std::chrono::steady_clock::time_point deadline);

/// From here on the first SIGTERM, SIGINT or SIGHUP means that this process is to end: nothing
/// holds its threads up any more (waitReadable, ChildProcess), and the descriptor that is returned
/// can be read, for the event loop to end by. A second one of its kind ends the process at once. -1
/// where the system gives no descriptor; then nothing has changed. Once.
[[nodiscard]] int endInOrderOnSignals();
[[nodiscard]] bool isEnding();

} // namespace lumivert
