#include "platform/posix/PosixProcessRunner.h"

#include "platform/posix/ReadToEnd.h"
#include "platform/system/Descriptor.h"
#include "platform/system/SystemCall.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace lumivert {
namespace {

constexpr int pipeCapacity = 1 << 20;

LaunchFailure launchFailure(const std::string& executable, int error) {
    return {executable + ": " + std::generic_category().message(error)};
}

void keepExitStatuses() {
    struct sigaction action = {};
    if (::sigaction(SIGCHLD, nullptr, &action) == 0 &&
        (action.sa_handler == SIG_IGN || (action.sa_flags & SA_NOCLDWAIT) != 0)) {
        action.sa_flags &= ~SA_NOCLDWAIT;
        if (action.sa_handler == SIG_IGN)
            action.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &action, nullptr);
    }
}

class FileActions {
public:
    explicit FileActions(int output) {
        check(::posix_spawn_file_actions_init(&m_actions));
        check(::posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO));
        check(::posix_spawn_file_actions_adddup2(&m_actions, output, STDERR_FILENO));
        // Libraries open descriptors too, not all of them close-on-exec.
        check(::posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1));
    }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { ::posix_spawn_file_actions_destroy(&m_actions); }

    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &m_actions; }
    [[nodiscard]] int error() const { return m_error; }

private:
    void check(int error) { m_error = m_error ? m_error : error; }

    posix_spawn_file_actions_t m_actions = {};
    int m_error = 0;
};

class DefaultSignals {
public:
    DefaultSignals() {
        ::posix_spawnattr_init(&m_attributes);
        sigset_t signals;
        sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&m_attributes, &signals);
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&m_attributes, &signals);
        ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    DefaultSignals(const DefaultSignals&) = delete;
    DefaultSignals& operator=(const DefaultSignals&) = delete;
    ~DefaultSignals() { ::posix_spawnattr_destroy(&m_attributes); }

    [[nodiscard]] const posix_spawnattr_t* get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes = {};
};

/// 0, or the error's number.
int spawn(pid_t& child, const std::string& executable, const std::vector<std::string>& arguments,
          int output) {
    const FileActions actions(output);
    if (actions.error() != 0)
        return actions.error();
    const DefaultSignals attributes;

    // posix_spawn takes char* for history's sake and writes to none of them.
    std::vector<char*> argv{const_cast<char*>(executable.c_str())};
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    return ::posix_spawn(&child, executable.c_str(), actions.get(), attributes.get(), argv.data(),
                         environ);
}

bool holdsNul(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

} // namespace

ProcessResult PosixProcessRunner::run(const std::string& executable,
                                      const std::vector<std::string>& arguments) {
    // The system would cut such a text at its NUL and run something else.
    if (holdsNul(executable) || std::any_of(arguments.begin(), arguments.end(), holdsNul))
        return launchFailure(executable.substr(0, executable.find('\0')), EINVAL);

    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return launchFailure(executable, errno);
    const Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    // Refused beyond /proc/sys/fs/pipe-user-pages-soft; the pipe then stays as it came.
    ::fcntl(writeEnd.get(), F_SETPIPE_SZ, pipeCapacity);

    keepExitStatuses();
    pid_t child = 0;
    if (const int error = spawn(child, executable, arguments, writeEnd.get()); error != 0)
        return launchFailure(executable, error);
    writeEnd.reset();

    int status = 0;
    if (retryingInterrupts([&] { return ::waitpid(child, &status, 0); }) < 0)
        return launchFailure(executable, errno);

    ProcessOutcome outcome;
    outcome.exitStatus = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    // A pipe's read fails for no reason but an interruption: what came is all there is.
    (void)readToEnd(readEnd.get(), outcome.output);
    return outcome;
}

} // namespace lumivert
