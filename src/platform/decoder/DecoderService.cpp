#include "platform/decoder/DecoderService.h"

#include <algorithm>
#include <csignal>
#include <system_error>
#include <utility>

namespace lumivert {

DecoderService::DecoderService(DecoderOptions options)
    : m_options(std::move(options))
    , m_pool(m_options.path) {}

DecoderService::~DecoderService() {
    stop();
}

void DecoderService::runInBackground(const void* owner, std::function<void()> task,
                                     std::function<void()> cancelled) {
    std::function<void()> overtaken;
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopped || !hasThread()) {
            overtaken = std::move(cancelled);
        } else {
            const auto waiting = std::ranges::find(m_tasks, owner, &Task::owner);
            if (waiting != m_tasks.end()) {
                overtaken = std::move(waiting->cancelled);
                m_tasks.erase(waiting);
            }
            m_tasks.push_back({owner, std::move(task), std::move(cancelled)});
            m_wake.notify_one();
        }
    }
    if (overtaken)
        overtaken();
}

// With the lock held.
bool DecoderService::hasThread() {
    try {
        if (!m_thread.joinable())
            m_thread = std::thread([this] { work(); });
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

void DecoderService::stop() {
    std::deque<Task> left;
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
        left.swap(m_tasks);
        if (m_waitedFor > 0)
            ::kill(m_waitedFor, SIGKILL);
        m_wake.notify_one();
    }
    for (const Task& task : left)
        task.cancelled();
    if (m_thread.joinable())
        m_thread.join();
    m_pool.close();
}

DecoderService::Interruptible::Interruptible(DecoderService& service, const DecoderProcess& process)
    : m_service(service) {
    const std::lock_guard lock(m_service.m_mutex);
    m_stopped = m_service.m_stopped;
    m_service.m_waitedFor = process.pid();
}

DecoderService::Interruptible::~Interruptible() {
    const std::lock_guard lock(m_service.m_mutex);
    m_service.m_waitedFor = -1;
}

void DecoderService::work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stopped || !m_tasks.empty(); });
        if (m_stopped)
            return;
        Task task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task.run();
        task = {}; // what it holds goes before the wait
        lock.lock();
    }
}

} // namespace lumivert
