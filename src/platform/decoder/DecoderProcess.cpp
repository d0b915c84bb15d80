#include "platform/decoder/DecoderProcess.h"

#include "platform/decoder/Packets.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

extern char** environ;

namespace lumivert {
namespace {

// Waits until the descriptor can be read or its other end has closed.
bool waitReadable(int fd, std::chrono::milliseconds timeout) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        pollfd entry{fd, POLLIN, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(std::max<long>(left.count(), 0)));
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

struct SpawnSettings {
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};

    explicit SpawnSettings(int socket) {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_adddup2(&actions, socket, protocol::controlDescriptor);
        ::posix_spawn_file_actions_addclosefrom_np(&actions, protocol::controlDescriptor + 1);
        ::posix_spawnattr_init(&attributes);
        sigset_t all;
        sigset_t none;
        ::sigfillset(&all);
        ::sigemptyset(&none);
        ::posix_spawnattr_setsigdefault(&attributes, &all);
        ::posix_spawnattr_setsigmask(&attributes, &none);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        ::posix_spawn_file_actions_destroy(&actions);
        ::posix_spawnattr_destroy(&attributes);
    }
};

} // namespace

std::unique_ptr<DecoderProcess> DecoderProcess::start(const std::string& path) {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return nullptr;
    Descriptor mine(ends[0]);
    const Descriptor its(ends[1]);
    const SpawnSettings settings(its.get());
    std::string name = path;
    std::array<char*, 2> arguments{name.data(), nullptr};
    pid_t pid = -1;
    if (::posix_spawn(&pid, path.c_str(), &settings.actions, &settings.attributes, arguments.data(),
                      environ) != 0)
        return nullptr;
    return std::unique_ptr<DecoderProcess>(new DecoderProcess(pid, std::move(mine)));
}

DecoderProcess::DecoderProcess(pid_t pid, Descriptor socket)
    : m_pid(pid)
    , m_socket(std::move(socket)) {}

DecoderProcess::~DecoderProcess() {
    // Its number cannot have been given to another process: nobody has waited for it yet.
    ::kill(m_pid, SIGKILL);
    while (::waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

bool DecoderProcess::isRunning() {
    pollfd entry{m_socket.get(), POLLIN | POLLRDHUP, 0};
    // It has nothing to say before it is asked.
    return ::poll(&entry, 1, 0) == 0;
}

std::optional<DecoderProcess::Reply> DecoderProcess::ask(const protocol::Request& request,
                                                         std::span<const int> descriptors,
                                                         std::chrono::milliseconds timeout) {
    if (!protocol::sendPacket(m_socket.get(), std::as_bytes(std::span(&request, 1)), descriptors))
        return std::nullopt;
    if (!waitReadable(m_socket.get(), timeout))
        return std::nullopt;
    Reply reply;
    auto received = protocol::receivePacket(m_socket.get(),
                                            std::as_writable_bytes(std::span(&reply.answer, 1)));
    const protocol::Answer& answer = reply.answer;
    if (!received || answer.magic != protocol::magic || answer.version != protocol::version ||
        answer.kind != request.kind || answer.done != 1)
        return std::nullopt;
    reply.descriptors = std::move(*received);
    return reply;
}

std::unique_ptr<DecoderProcess> DecoderPool::take() {
    std::unique_ptr<DecoderProcess> spare;
    {
        const std::lock_guard lock(m_mutex);
        spare = std::move(m_spare);
    }
    if (spare && spare->isRunning())
        return spare;
    return DecoderProcess::start(m_path);
}

void DecoderPool::prepareSpare() {
    const std::lock_guard lock(m_mutex);
    if (!m_closed && (!m_spare || !m_spare->isRunning()))
        m_spare = DecoderProcess::start(m_path);
}

void DecoderPool::close() {
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    m_spare.reset();
}

} // namespace lumivert
