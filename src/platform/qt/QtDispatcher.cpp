#include "platform/qt/QtDispatcher.h"

namespace lumivert {

QtDispatcher::~QtDispatcher() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable())
        m_thread.join();
}

void QtDispatcher::asyncOnMain(std::function<void()> task) {
    QMetaObject::invokeMethod(&m_main, std::move(task), Qt::QueuedConnection);
}

void QtDispatcher::asyncInBackground(std::chrono::milliseconds delay, std::function<void()> task) {
    const std::lock_guard lock(m_mutex);
    m_waiting.emplace(Due(Clock::now() + delay, m_count++), std::move(task));
    if (!m_thread.joinable())
        m_thread = std::thread([this] { runBackgroundTasks(); });
    m_changed.notify_one();
}

void QtDispatcher::runBackgroundTasks() {
    std::unique_lock lock(m_mutex);
    while (true) {
        if (m_waiting.empty()) {
            if (m_ending)
                return;
            m_changed.wait(lock);
            continue;
        }
        const auto due = m_waiting.begin()->first.first;
        if (!m_ending && Clock::now() < due) {
            m_changed.wait_until(lock, due);
            continue;
        }
        auto next = m_waiting.extract(m_waiting.begin());
        lock.unlock();
        next.mapped()();
        // What the task captured goes before the lock is taken again: its destructor may call back.
        next.mapped() = nullptr;
        lock.lock();
    }
}

} // namespace lumivert
