#include "platform/updates/SPUStandardUpdaterController.h"

#include <utility>

namespace lumivert {

SPUStandardUpdaterController::SPUStandardUpdaterController(bool startingUpdater,
                                                           const UpdateServices& services)
    : m_schedule(services.clock, services.preferences,
                 [this](auto onDone) { m_updater.checkQuietly(std::move(onDone)); })
    , m_updater(services.engine, services.window, services.clock,
                [this] { m_schedule.noteAnswer(); }) {
    if (startingUpdater)
        startUpdater();
}

void SPUStandardUpdaterController::startUpdater() {
    if (std::exchange(m_started, true))
        return;
    m_updater.start();
    m_schedule.start();
}

} // namespace lumivert
