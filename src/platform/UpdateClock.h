#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace lumivert {

/// A task that waits for its time; destroyed, it does not run any more.
class UpdateAlarm {
public:
    virtual ~UpdateAlarm() = default;
};

/// Time and chance for scheduled work. Main thread.
class UpdateClock {
public:
    virtual ~UpdateClock() = default;

    /// The time of day, which people and services set back and forth.
    [[nodiscard]] virtual std::chrono::sys_seconds now() = 0;

    /// Runs `task` once, from the event loop, not before `delay`. Time that the machine sleeps may
    /// not count. The task may destroy its alarm.
    [[nodiscard]] virtual std::unique_ptr<UpdateAlarm> after(std::chrono::milliseconds delay,
                                                             std::function<void()> task) = 0;

    /// A random length between the two, both included.
    [[nodiscard]] virtual std::chrono::seconds randomBetween(std::chrono::seconds least,
                                                             std::chrono::seconds most) = 0;
};

} // namespace lumivert
