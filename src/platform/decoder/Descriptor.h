#pragma once

#include <unistd.h>
#include <utility>

namespace lumivert {

/// Owns a file descriptor; -1 for none.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd)
        : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset();
            m_fd = std::exchange(other.m_fd, -1);
        }
        return *this;
    }
    ~Descriptor() { reset(); }

    void reset() {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
    }
    [[nodiscard]] int get() const { return m_fd; }
    [[nodiscard]] explicit operator bool() const { return m_fd >= 0; }

private:
    int m_fd = -1;
};

} // namespace lumivert
