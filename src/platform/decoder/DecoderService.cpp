#include "platform/decoder/DecoderService.h"

#include <algorithm>
#include <csignal>
#include <system_error>
#include <utility>

namespace lumivert {

DecoderService::DecoderService(DecoderOptions options)
    : m_options(std::move(options))
    , m_program(m_options.path) {}

DecoderService::~DecoderService() {
    stop();
}

std::unique_ptr<DecoderProcess> DecoderService::take() {
    std::unique_ptr<DecoderProcess> spare;
    {
        const std::lock_guard lock(m_mutex);
        spare = std::move(m_spare);
    }
    return spare && spare->isRunning() ? std::move(spare) : DecoderProcess::start(m_program);
}

void DecoderService::prepareSpare() {
    const std::lock_guard lock(m_mutex);
    if (!m_stopped && (!m_spare || !m_spare->isRunning()))
        m_spare = DecoderProcess::start(m_program);
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

void DecoderService::runInBackground(const void* owner, Task task) {
    Task cancelled;
    {
        const std::lock_guard lock(m_mutex);
        try {
            if (!m_stopped && !m_thread.joinable())
                m_thread = std::thread([this] { work(); });
        } catch (const std::system_error&) { // there is none to be had
        }
        if (m_stopped || !m_thread.joinable()) {
            cancelled = std::move(task);
        } else {
            const auto waiting = std::ranges::find(m_tasks, owner, &Waiting::owner);
            if (waiting != m_tasks.end()) {
                cancelled = std::move(waiting->run);
                m_tasks.erase(waiting);
            }
            m_tasks.push_back({owner, std::move(task)});
            m_wake.notify_one();
        }
    }
    if (cancelled)
        cancelled(true);
}

void DecoderService::stop() {
    std::deque<Waiting> left;
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
        left.swap(m_tasks);
        m_spare.reset();
        for (const pid_t pid : m_answering)
            ::kill(pid, SIGKILL);
        m_wake.notify_one();
    }
    for (const Waiting& task : left)
        task.run(true);
    if (m_thread.joinable())
        m_thread.join();
}

void DecoderService::work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stopped || !m_tasks.empty(); });
        if (m_stopped)
            return;
        Task run = std::move(m_tasks.front().run);
        m_tasks.pop_front();
        lock.unlock();
        run(false);
        run = nullptr; // what it holds goes before the wait
        lock.lock();
    }
}

} // namespace lumivert
