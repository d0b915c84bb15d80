// A decoder that has been taken over: confined as the real one, it tries what its first argument
// names. Ends with 0 where it could, with errno where it was told that it cannot; a wall may also
// kill it.
#include "decoder/Confinement.h"
#include "decoder/Requests.h"
#include "decoder/Strips.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <map>
#include <netinet/in.h>
#include <spawn.h>
#include <string>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace lumivert;

namespace {

constexpr int control = 3;

int result(long value) {
    return value < 0 ? errno : 0;
}

// Fills private memory until there is none; how much that was, in steps of 64 MiB.
int eat() {
    constexpr std::size_t step = std::size_t{64} << 20;
    for (int steps = 0; steps < 250; ++steps) {
        void* block =
            ::mmap(nullptr, step, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (block == MAP_FAILED)
            return steps;
        std::memset(block, 1, 4096);
    }
    return 250;
}

int connectToLoopback() {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(631);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return result(::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address));
}

int spawnShell() {
    char shell[] = "/bin/sh";
    char* arguments[] = {shell, nullptr};
    pid_t pid = 0;
    return ::posix_spawn(&pid, shell, nullptr, nullptr, arguments, nullptr);
}

int startThread() {
    int answer = 1;
    std::thread([&] { answer = 0; }).join();
    return answer;
}

int exec() {
    char shell[] = "/bin/true";
    char* arguments[] = {shell, nullptr};
    return result(::execve(shell, arguments, nullptr));
}

const std::map<std::string, std::function<int()>> trials{
    {"nothing", [] { return 0; }},
    {"thread", startThread},
    {"read", [] { return result(::open("/etc/passwd", O_RDONLY)); }},
    {"write", [] { return result(::open("/dev/shm/lumivert-trial", O_WRONLY | O_CREAT, 0600)); }},
    {"list", [] { return result(::open("/", O_RDONLY | O_DIRECTORY)); }},
    {"stat",
     [] {
         struct stat status {};
         return result(::stat("/etc/passwd", &status));
     }},
    {"unlink", [] { return result(::unlink("/dev/shm/lumivert-trial")); }},
    {"connect", connectToLoopback},
    {"socket", [] { return result(::socket(AF_UNIX, SOCK_STREAM, 0)); }},
    {"fork",
     [] {
         const pid_t child = ::fork();
         if (child == 0)
             ::_exit(0);
         return result(child);
     }},
    {"vfork", [] { return result(::syscall(SYS_vfork)); }},
    {"spawn", spawnShell},
    {"exec", exec},
    {"kill", [] { return result(::kill(::getppid(), SIGTERM)); }},
    {"trace", [] { return result(::ptrace(PTRACE_ATTACH, ::getppid(), nullptr, nullptr)); }},
    {"memfd", [] { return result(::memfd_create("more", 0)); }},
    {"namespace", [] { return result(::unshare(CLONE_NEWUSER)); }},
    {"sendElsewhere",
     [] {
         msghdr message{};
         return result(::sendmsg(control + 1, &message, 0));
     }},
    {"limits",
     [] {
         const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
         return result(::setrlimit(RLIMIT_DATA, &none));
     }},
    {"eat", eat},
    {"eatAfterPhoto",
     [] {
         decoder::allowPhoto({16384, 8192}, 4); // of which 512 MiB are held
         return eat();
     }},
    {"growFile", [] { return result(::ftruncate(control + 1, off_t{1} << 40)); }},
};

} // namespace

int main(int, char** arguments) {
    const auto trial = trials.find(arguments[1]);
    if (trial == trials.end())
        return 255;
    if (!std::getenv("UNCONFINED")) {
        ::close_range(control + 1, ~0U, 0);
        decoder::preparePixelFile();
        decoder::leaveSurroundings();
        decoder::prepareLibraries(arguments[0]);
        decoder::limitResources();
        decoder::shutDoor(control, true);
    }
    ::_exit(trial->second());
}
