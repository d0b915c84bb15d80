#pragma once

#include <unistd.h>
#include <utility>

namespace lumivert {

/// Owns a file descriptor, or none.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd)
        : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

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

} // namespace lumivert
