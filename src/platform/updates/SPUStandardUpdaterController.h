#pragma once

#include "platform/PreferencesStore.h"
#include "platform/updates/SPUUpdater.h"
#include "platform/updates/UpdateSchedule.h"

namespace lumivert {

/// What the updater stands on. Borrowed: outlives the controller.
struct UpdateServices {
    UpdateEngine& engine;
    UpdateWindow& window;
    UpdateClock& clock;
    PreferencesStore& preferences;
};

/// Owns the updater and the schedule of the checks that it makes by itself. Main thread. Neither
/// the constructor nor the start reads, writes or connects anything; that begins some seconds
/// later, or with the first check.
class SPUStandardUpdaterController {
public:
    SPUStandardUpdaterController(bool startingUpdater, const UpdateServices& services);
    SPUStandardUpdaterController(const SPUStandardUpdaterController&) = delete;
    SPUStandardUpdaterController& operator=(const SPUStandardUpdaterController&) = delete;

    /// From now on checks can be asked for and are scheduled. Once is enough.
    void startUpdater();

    [[nodiscard]] SPUUpdater& updater() { return m_updater; }

private:
    UpdateSchedule m_schedule;
    SPUUpdater m_updater;
    bool m_started = false;
};

} // namespace lumivert
