#include "platform/decoder/DecoderService.h"

#include "platform/system/Packets.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace lumivert {

DecoderProcess::DecoderProcess(ChildProcess child, Descriptor socket)
    : m_child(std::move(child))
    , m_socket(std::move(socket)) {}

bool DecoderProcess::isRunning() {
    pollfd entry{m_socket.get(), POLLIN | POLLRDHUP, 0};
    // It has nothing to say before it is asked.
    return ::poll(&entry, 1, 0) == 0;
}

std::optional<DecoderProcess::Reply> DecoderProcess::ask(const protocol::Request& request,
                                                         std::span<const int> descriptors,
                                                         std::chrono::milliseconds timeout) try {
    if (!sendPacket(m_socket.get(), std::as_bytes(std::span(&request, 1)), descriptors) ||
        !waitReadable(m_socket.get(), std::chrono::steady_clock::now() + timeout))
        return std::nullopt;
    Reply reply;
    auto received =
        receivePacket(m_socket.get(), std::as_writable_bytes(std::span(&reply.answer, 1)));
    const protocol::Answer& answer = reply.answer;
    if (!received || answer.magic != protocol::magic || answer.version != protocol::version ||
        answer.kind != request.kind || answer.done != 1)
        return std::nullopt;
    reply.descriptors = std::move(*received);
    return reply;
} catch (const std::bad_alloc&) {
    return std::nullopt;
}

DecoderService::DecoderService(DecoderOptions options)
    : m_options(std::move(options))
    , m_program(::open(m_options.path.c_str(), O_PATH | O_CLOEXEC)) {}

std::unique_ptr<DecoderProcess> DecoderService::start() {
    std::array<int, 2> ends{-1, -1};
    if (!m_program || ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return nullptr;
    Descriptor mine(ends[0]);
    const Descriptor its(ends[1]);
    const Descriptor nowhere(::open("/dev/null", O_RDWR | O_CLOEXEC));
    // The first one tells on standard error which walls the system lacks.
    const std::string mood = m_hasStarted.exchange(true) ? "silent" : "";
    static_assert(protocol::controlDescriptor == 3);
    auto child =
        nowhere ? ChildProcess::start({.path = m_options.path,
                                       .arguments = {mood},
                                       .descriptors = {nowhere.get(), nowhere.get(), -1, its.get()},
                                       .executable = m_program.get()})
                : std::nullopt;
    return child ? std::make_unique<DecoderProcess>(std::move(*child), std::move(mine)) : nullptr;
}

std::unique_ptr<DecoderProcess> DecoderService::take() {
    std::unique_ptr<DecoderProcess> spare;
    {
        const std::lock_guard lock(m_mutex);
        spare = std::move(m_spare);
    }
    return spare && spare->isRunning() ? std::move(spare) : start();
}

void DecoderService::prepareSpare() {
    const std::lock_guard lock(m_mutex);
    if (!m_stopped && (!m_spare || !m_spare->isRunning()))
        m_spare = start();
}

std::optional<DecoderProcess::Reply> DecoderService::answer(const protocol::Request& request,
                                                            std::span<const int> descriptors) {
    std::optional<DecoderProcess::Reply> reply;
    if (const auto process = take()) {
        {
            const std::lock_guard lock(m_mutex);
            if (m_stopped)
                return std::nullopt;
            m_answering.push_back(process->pid());
        }
        reply = process->ask(request, descriptors, m_options.answerTimeout);
        // Before the number can be another process's.
        const std::lock_guard lock(m_mutex);
        std::erase(m_answering, process->pid());
    }
    prepareSpare();
    return reply;
}

void DecoderService::stop() {
    const std::lock_guard lock(m_mutex);
    m_stopped = true;
    m_spare.reset();
    for (const pid_t pid : m_answering)
        ::kill(pid, SIGKILL);
}

} // namespace lumivert
