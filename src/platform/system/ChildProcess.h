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
/// process's environment and working directory. Destroyed, it is killed and waited for. One thread;
/// killAll() any.
///
/// A SIGCHLD that is ignored (a disposition a program can be started with) is set back to its
/// default for good: the kernel would otherwise throw the exit status away (waitpid(2)).
class ChildProcess {
public:
    /// Nothing, with errno set, where the child or its program cannot be started.
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
    /// Nothing, with errno set, where the system does not tell.
    [[nodiscard]] std::optional<int> wait();

    /// Kills every child there is, and the children of these, and lets none be started from here on
    /// (errno ECANCELED). May be called from a signal handler.
    static void killAll();

private:
    explicit ChildProcess(pid_t pid)
        : m_pid(pid) {}

    pid_t m_pid;
};

/// From here on the first SIGTERM, SIGINT or SIGHUP kills every child and lets none be started, as
/// killAll() does, so that nothing holds the main thread up, and makes the descriptor that is
/// returned readable, for the event loop to end by. A second one of its kind ends the process at
/// once. -1 where the system gives no descriptor; then nothing has changed. Once.
[[nodiscard]] int endInOrderOnSignals();

} // namespace lumivert
