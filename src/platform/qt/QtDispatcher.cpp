#include "platform/qt/QtDispatcher.h"

#include <new>
#include <system_error>

namespace lumivert {

QtDispatcher::~QtDispatcher() {
    finish();
}

void QtDispatcher::finish() {
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable())
        m_thread.join();
    else
        runBackgroundTasks(); // of no thread of their own
}

void QtDispatcher::asyncOnMain(std::function<void()> task) {
    QMetaObject::invokeMethod(&m_main, std::move(task), Qt::QueuedConnection);
}

void QtDispatcher::asyncInBackground(std::chrono::milliseconds delay, std::function<void()> task) {
    const std::lock_guard lock(m_mutex);
    m_waiting.emplace(Clock::now() + delay, std::move(task));
    try {
        if (!m_thread.joinable())
            m_thread = std::thread([this] { runBackgroundTasks(); });
    } catch (const std::system_error&) {
        // It waits for the thread that a later task may get, or for the end.
    }
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
        const auto due = m_waiting.begin()->first;
        if (!m_ending && Clock::now() < due) {
            m_changed.wait_until(lock, due);
            continue;
        }
        auto next = m_waiting.extract(m_waiting.begin());
        lock.unlock();
        try {
            next.mapped()();
        } catch (const std::bad_alloc&) {
            // One task that found no memory is not done; the program goes on.
        }
        // What the task captured goes before the lock is taken again: its destructor may call back.
        next.mapped() = nullptr;
        lock.lock();
    }
}

} // namespace lumivert
