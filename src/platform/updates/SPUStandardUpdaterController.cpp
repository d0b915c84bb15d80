#include "platform/updates/SPUStandardUpdaterController.h"

#include <utility>

namespace lumivert {

SPUStandardUpdaterController::SPUStandardUpdaterController(bool startingUpdater,
                                                           const UpdateServices& services)
    : m_schedule(services.clock, services.preferences,
                 [this](auto onDone) { m_session.checkQuietly(std::move(onDone)); })
    , m_session(services.engine, services.window, services.clock, m_mayCheck,
                [this] { m_schedule.noteAnswer(); })
    , m_updater(m_mayCheck, [this] { m_session.check(); }) {
    if (startingUpdater)
        startUpdater();
}

void SPUStandardUpdaterController::startUpdater() {
    if (std::exchange(m_started, true))
        return;
    m_session.open();
    m_schedule.start();
}

} // namespace lumivert
