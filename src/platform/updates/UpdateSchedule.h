#pragma once

#include "platform/PreferencesStore.h"
#include "platform/UpdateClock.h"

#include <chrono>
#include <functional>
#include <memory>

namespace lumivert {

/// Decides when a check that nobody asked for is due: a day after the last one, plus a random delay
/// of 20 seconds to 5 minutes so that not all machines ask at once and none asks while the program
/// starts. The first waits for the second start of the program. Main thread; what it is given is
/// borrowed and outlives it.
///
/// The preferences keep one value, under `preferenceKey`: when the last check was, in decimal
/// seconds since 1970; "0" before the first.
class UpdateSchedule {
public:
    static constexpr auto preferenceKey = "LastUpdateCheck";

    /// Starts a check; `onDone` says whether the next one may wait for a day, or comes in an hour.
    using Check = std::function<void(std::function<void(bool settled)> onDone)>;

    UpdateSchedule(UpdateClock& clock, PreferencesStore& preferences, Check check);
    UpdateSchedule(const UpdateSchedule&) = delete;
    UpdateSchedule& operator=(const UpdateSchedule&) = delete;

    /// Does nothing but set an alarm: the preferences are first read 5 seconds later.
    void start();

    /// A check has learned now whether a newer version exists.
    void noteAnswer();

private:
    void begin();
    void planFrom(std::chrono::sys_seconds earliest);
    void wait();
    void look();

    UpdateClock& m_clock;
    PreferencesStore& m_preferences;
    Check m_check;
    bool m_begun = false;
    bool m_firstStart = true;
    std::chrono::sys_seconds m_due;
    std::unique_ptr<UpdateAlarm> m_alarm;
};

} // namespace lumivert
