#include "platform/system/ChildProcess.h"

#include "platform/system/Descriptor.h"

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace lumivert {
namespace {

using namespace std::chrono_literals;

// With what /proc tells of the children that its first thread started; tools have no other thread.
void killTree(pid_t process) {
    const std::string number = std::to_string(process);
    std::ifstream file("/proc/" + number + "/task/" + number + "/children");
    const std::vector<pid_t> children(std::istream_iterator<pid_t>(file), {});
    ::kill(process, SIGKILL);
    for (const pid_t child : children)
        killTree(child);
}

void keepExitStatuses() {
    struct sigaction action = {};
    if (::sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        std::signal(SIGCHLD, SIG_DFL);
}

// Everything that the child needs, made before it exists.
struct Launch {
    ChildProgram& program;
    std::vector<char*> arguments;
    pid_t starter;
    int report; // for errno where the program cannot be run; closed by the start of the program
};

bool arrangeDescriptors(Launch& launch) {
    auto& descriptors = launch.program.descriptors;
    const int count = static_cast<int>(descriptors.size());
    // First all out of each other's way: a source may have the number that another one is to get.
    const auto moveUp = [count](int& fd) {
        if (fd < 0)
            return true;
        const int above = ::fcntl(fd, F_DUPFD_CLOEXEC, count + 2);
        if (above >= 0)
            fd = above;
        return above >= 0;
    };
    for (int& fd : descriptors)
        if (!moveUp(fd))
            return false;
    if (!moveUp(launch.report) || !moveUp(launch.program.executable))
        return false;
    for (int i = 0; i < count; ++i)
        if (const int fd = descriptors[static_cast<std::size_t>(i)]; fd >= 0 && ::dup2(fd, i) < 0)
            return false;
    if (::dup3(launch.report, count, O_CLOEXEC) < 0)
        return false;
    launch.report = count;
    if (launch.program.executable >= 0)
        launch.program.executable = ::dup3(launch.program.executable, count + 1, O_CLOEXEC);
    // Libraries open descriptors too, not all of them close-on-exec.
    return ::close_range(static_cast<unsigned>(count + 2), ~0U, 0) == 0;
}

// Runs in the child, in the parent's memory: nothing here allocates or takes a lock.
[[noreturn]] void runProgram(Launch& launch) {
    struct sigaction byDefault = {};
    byDefault.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal)
        ::sigaction(signal, &byDefault, nullptr);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    if (launch.program.endsWithStarter) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != launch.starter)
            ::_exit(127); // it ended before it could be told
    }
    if (!arrangeDescriptors(launch))
        errno = EMFILE; // the system has a word of its own for each call that meets the limit
    else if (launch.program.executable >= 0)
        ::fexecve(launch.program.executable, launch.arguments.data(), environ);
    else
        ::execve(launch.program.path.c_str(), launch.arguments.data(), environ);
    const int error = errno;
    (void)writeAll(launch.report, std::as_bytes(std::span(&error, 1)));
    ::_exit(127);
}

// vfork, as posix_spawn does, which has no way to ask for an end with the parent: a copy of this
// process's page tables at each start would cost more than all the rest.
pid_t forkAndRun(Launch& launch) {
    const pid_t child = ::vfork(); // NOLINT(clang-analyzer-security.insecureAPI.vfork)
    if (child == 0)
        runProgram(launch);
    return child;
}

} // namespace

std::optional<ChildProcess> ChildProcess::start(ChildProgram program) {
    if (isEnding()) {
        errno = ECANCELED;
        return std::nullopt;
    }
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return std::nullopt;
    const Descriptor failure(ends[0]);
    Descriptor report(ends[1]);
    keepExitStatuses();
    Launch launch{program, {}, ::getpid(), report.get()};
    // exec takes char* for history's sake and writes to none of them.
    launch.arguments.push_back(const_cast<char*>(program.path.c_str()));
    for (const auto& argument : program.arguments)
        launch.arguments.push_back(const_cast<char*>(argument.c_str()));
    launch.arguments.push_back(nullptr);

    // No handler of this process's may run in the child.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t pid = forkAndRun(launch);
    int error = errno;
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (pid < 0) {
        errno = error;
        return std::nullopt;
    }
    ChildProcess child(pid);
    report.reset();
    if (retryingInterrupts([&] { return ::read(failure.get(), &error, sizeof error); }) == 0)
        return child;
    child = ChildProcess(-1); // reaped before errno is set
    errno = error;
    return std::nullopt;
}

ChildProcess::~ChildProcess() {
    if (m_pid < 0)
        return;
    // Its number cannot have been given to another process: nobody has waited for it yet.
    ::kill(m_pid, SIGKILL);
    (void)wait();
}

std::optional<int> ChildProcess::wait() {
    const Descriptor end(static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0)));
    // Where there is no such descriptor, a signal does not end the child before its time.
    while (end && !waitReadable(end.get(), std::chrono::steady_clock::now() + 1h))
        if (isEnding()) {
            killTree(m_pid);
            break;
        }
    siginfo_t info{};
    if (retryingInterrupts(
            [&] { return ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED); }) != 0)
        return std::nullopt;
    m_pid = -1;
    return info.si_code == CLD_EXITED ? info.si_status : 128 + info.si_status;
}

} // namespace lumivert
