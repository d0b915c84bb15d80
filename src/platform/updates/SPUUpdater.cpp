#include "platform/updates/SPUUpdater.h"

#include <utility>

namespace lumivert {

SPUUpdater::SPUUpdater(ObservedFlag& mayCheck, std::function<void()> check)
    : m_mayCheck(mayCheck)
    , m_check(std::move(check)) {}

FlagObservation SPUUpdater::observeCanCheckForUpdates(std::function<void()> handler) const {
    return m_mayCheck.observe(std::move(handler));
}

void SPUUpdater::checkForUpdates() {
    m_check();
}

} // namespace lumivert
