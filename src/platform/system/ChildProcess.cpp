#include "platform/system/ChildProcess.h"

#include "platform/system/Descriptor.h"

#include <array>
#include <atomic>
#include <charconv>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace lumivert {
namespace {

// The children that killAll() finds. One tool, and the decoders of a page, a proof and the spare
// one are all that ever run at once; a child that finds no room is not ended by a signal's way.
std::array<std::atomic<pid_t>, 32> running{};
std::atomic<bool> ended = false;
static_assert(std::atomic<pid_t>::is_always_lock_free, "a signal handler reads them");
int endEvent = -1;

void replaceRunning(pid_t from, pid_t to) {
    for (auto& slot : running)
        if (pid_t expected = from; slot.compare_exchange_strong(expected, to))
            return;
}

// What /proc tells of the children that a process's first thread started, front to back; tools have
// no other thread. Without allocating, for a signal handler.
void killTree(pid_t process) {
    std::array<char, 64> path{"/proc/"};
    char* end = std::to_chars(path.data() + 6, path.data() + 20, process).ptr;
    std::memcpy(end, "/task/", 6);
    end = std::to_chars(end + 6, end + 20, process).ptr;
    std::memcpy(end, "/children", 10);
    std::array<char, 512> text{};
    const int fd = ::open(path.data(), O_RDONLY | O_CLOEXEC);
    const ssize_t length = ::read(fd, text.data(), text.size());
    ::close(fd);
    ::kill(process, SIGKILL);
    const char* const last = text.data() + (length > 0 ? length : 0);
    for (const char* at = text.data(); at < last; ++at) {
        pid_t child = 0;
        at = std::from_chars(at, last, child).ptr;
        if (child > 0)
            killTree(child);
    }
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
    replaceRunning(0, pid);
    report.reset();
    if (ended)
        error = ECANCELED;
    else if (retryingInterrupts([&] { return ::read(failure.get(), &error, sizeof error); }) == 0)
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
    siginfo_t info{};
    if (retryingInterrupts([&] {
            return ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT);
        }) != 0)
        return std::nullopt;
    // Out of killAll()'s reach while the number is still its own.
    replaceRunning(m_pid, 0);
    ::waitpid(std::exchange(m_pid, -1), nullptr, 0);
    return info.si_code == CLD_EXITED ? info.si_status : 128 + info.si_status;
}

void ChildProcess::killAll() {
    const int error = errno;
    ended = true;
    for (const auto& slot : running)
        if (const pid_t child = slot; child > 0)
            killTree(child);
    errno = error;
}

int endInOrderOnSignals() {
    endEvent = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (endEvent < 0)
        return -1;
    struct sigaction action = {};
    action.sa_handler = [](int) {
        ChildProcess::killAll();
        const int error = errno;
        (void)::eventfd_write(endEvent, 1);
        errno = error;
    };
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signal, &action, nullptr);
    return endEvent;
}

} // namespace lumivert
