#pragma once

#include "platform/updates/SPUUpdater.h"

namespace lumivert {

/// What the application owns of the updates: an updater that has started, and follows its schedule.
/// Main thread.
class SPUStandardUpdaterController {
public:
    explicit SPUStandardUpdaterController(const UpdateServices& services)
        : m_updater(services) {}

    [[nodiscard]] SPUUpdater& updater() { return m_updater; }

private:
    SPUUpdater m_updater;
};

} // namespace lumivert
