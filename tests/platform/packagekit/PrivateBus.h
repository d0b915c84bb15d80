#pragma once

#include <string>
#include <sys/types.h>

namespace lumivert {

/// A message bus of the test's own, with a configuration and a socket file of its own below the
/// temporary folder; it starts no services.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus() { stop(); }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    [[nodiscard]] const std::string& address() const { return m_address; }

    void stop();
    /// Lets it hang, neither answering nor going away, and go on.
    void pause() const;
    void resume() const;

private:
    std::string m_folder;
    std::string m_address;
    pid_t m_pid = -1;
};

} // namespace lumivert
