#pragma once

#include "platform/Observable.h"
#include "platform/PreferencesStore.h"
#include "platform/Updates.h"

#include <chrono>
#include <optional>

namespace lumivert {

/// What the updater stands on. Borrowed: outlives the updater.
struct UpdateServices {
    UpdateEngine& engine;
    UpdateWindow& window;
    UpdateClock& clock;
    PreferencesStore& preferences;
};

/// The updater: leads a check from its start to its end, and the installation that may follow,
/// through the engine and the window. Main thread.
///
/// It also checks without being asked: once a day after the last check, plus a random delay of 20
/// seconds to 5 minutes so that not all machines ask at once and none asks while the program
/// starts. The first such check waits for the second start of the program. Nothing is seen of it
/// unless it finds a newer version; it is given up after ten minutes, and tried again in an hour
/// when it learned nothing or the window is open.
class SPUUpdater : public ObservableObject {
public:
    /// Under which the preferences keep when the last check was, in decimal seconds since 1970; "0"
    /// before the first.
    static constexpr auto preferenceKey = "LastUpdateCheck";

    /// Reads, writes and connects nothing; that begins 5 seconds later, or with the first check.
    explicit SPUUpdater(const UpdateServices& services);
    /// Cancels a check that is under way; an installation goes on without it.
    ~SPUUpdater();

    /// Whether a check that a person asks for may start now: not from the start of a check or an
    /// installation to its end, whatever the end. Written here only.
    Published<bool> canCheckForUpdates{this, true};

    /// A check that a person asked for. The window opens, or comes to the front when it is open; a
    /// second check is not started beside one.
    void checkForUpdates();

private:
    void show(const UpdateState& state, UpdateWindow::Attention attention);
    void check(UpdateCheckKind kind);
    void install();
    void dismiss();
    void take(const UpdateState& state);

    void beginSchedule();
    void planFrom(std::chrono::sys_seconds earliest);
    void waitUntilDue();
    void checkOnSchedule();

    UpdateServices m_services;
    /// What the window shows, or would show if it were open.
    std::optional<UpdateState> m_shown;
    /// What this run of the program has installed: newer than the program that runs.
    std::optional<UpdateInstalled> m_installed;
    bool m_scheduleBegun = false;
    bool m_firstStart = true;
    std::chrono::sys_seconds m_due;
    UpdateClock::Alarm m_alarm; // until the next check on schedule
    bool m_onSchedule = false;  // whether one is under way
    UpdateClock::Alarm m_limit; // of that
};

} // namespace lumivert
