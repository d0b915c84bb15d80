#pragma once

#include "platform/PreferencesStore.h"
#include "platform/updates/SPUUpdater.h"

namespace lumivert {

/// What the updater stands on. Borrowed: outlives the controller.
struct UpdateServices {
    UpdateEngine& engine;
    UpdateWindow& window;
    UpdateClock& clock;
    PreferencesStore& preferences;
};

/// Owns the updater and schedules the checks that nobody asks for: one a day after the last, plus a
/// random delay of 20 seconds to 5 minutes so that not all machines ask at once and none asks while
/// the program starts. The first waits for the second start of the program. Main thread.
///
/// The constructor reads, writes and connects nothing; that begins 5 seconds later, or with the
/// first check.
class SPUStandardUpdaterController {
public:
    /// Under which the preferences keep when the last check was, in decimal seconds since 1970; "0"
    /// before the first.
    static constexpr auto preferenceKey = "LastUpdateCheck";

    explicit SPUStandardUpdaterController(const UpdateServices& services);
    SPUStandardUpdaterController(const SPUStandardUpdaterController&) = delete;
    SPUStandardUpdaterController& operator=(const SPUStandardUpdaterController&) = delete;

    [[nodiscard]] SPUUpdater& updater() { return m_updater; }

private:
    void beginSchedule();
    void noteAnswer();
    void planFrom(std::chrono::sys_seconds earliest);
    void wait();
    void look();

    UpdateClock& m_clock;
    PreferencesStore& m_preferences;
    SPUUpdater m_updater;
    bool m_scheduleBegun = false;
    bool m_firstStart = true;
    std::chrono::sys_seconds m_due;
    UpdateClock::Alarm m_alarm;
};

} // namespace lumivert
