#pragma once

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

} // namespace lumivert
