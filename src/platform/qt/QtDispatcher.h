#pragma once

#include "platform/Dispatcher.h"

#include <QObject>

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

namespace lumivert {

/// Tasks for the event loop of the thread that made it (the main thread), and for one background
/// thread, which is started by the first task for it and runs one task at a time, in the order in
/// which they fall due. Where the system gives no thread, a task waits for the next one that finds
/// a thread, or for the end; one that runs out of memory is given up.
///
/// Destroyed on the main thread, after the event loop and after every other thread's last call:
/// background tasks that still wait, and those they add, run at once, one after the other; then
/// tasks that still wait for the main thread are dropped.
class QtDispatcher : public Dispatcher {
public:
    QtDispatcher() = default;
    ~QtDispatcher() override;
    QtDispatcher(const QtDispatcher&) = delete;
    QtDispatcher& operator=(const QtDispatcher&) = delete;

    void asyncOnMain(std::function<void()> task) override;
    void asyncInBackground(std::chrono::milliseconds delay, std::function<void()> task) override;

    /// What destruction does to background tasks, for an exit() that destroys nothing. Main thread.
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    void runBackgroundTasks();

    QObject m_main;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::multimap<Clock::time_point, std::function<void()>> m_waiting; // by when they fall due
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace lumivert
