#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace lumivert {

/// What a child runs, and what it is given.
struct ChildProgram {
    /// Not looked up anywhere; also the program's own name for itself.
    std::string path;
    std::vector<std::string> arguments;
    /// The child's descriptors from 0 up, as descriptors of this process; -1 hands on the one of
    /// the same number. The child gets these and no other.
    std::vector<int> descriptors;
    /// Where not -1: the program that is open here runs, whatever stands at `path` by now.
    int executable = -1;
    /// The child is killed when the thread that started it ends, however that comes.
    bool endsWithStarter = false;
};

/// A child of this process. It begins with every signal at its default and none blocked, in this
/// process's environment and working directory. Destroyed, it is killed and waited for. One thread.
///
/// A SIGCHLD that is ignored (a disposition a program can be started with) is set back to its
/// default for good: the kernel would otherwise throw the exit status away (waitpid(2)).
class ChildProcess {
public:
    /// Nothing, with errno set, where the child or its program cannot be started: ECANCELED once
    /// this process is to end (endInOrderOnSignals).
    [[nodiscard]] static std::optional<ChildProcess> start(ChildProgram program);

    ChildProcess(ChildProcess&& other) noexcept
        : m_pid(std::exchange(other.m_pid, -1)) {}
    ChildProcess& operator=(ChildProcess&& other) noexcept {
        std::swap(m_pid, other.m_pid);
        return *this;
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// Waits for the child's end: its exit status, or 128 + the number of the signal that ended it.
    /// Once this process is to end, the child is killed with its own children. Nothing, with errno
    /// set, where the system does not tell.
    [[nodiscard]] std::optional<int> wait();

private:
    explicit ChildProcess(pid_t pid)
        : m_pid(pid) {}

    pid_t m_pid;
};

} // namespace lumivert
