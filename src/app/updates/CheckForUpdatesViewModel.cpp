#include "app/updates/CheckForUpdatesViewModel.h"

namespace lumivert {

CheckForUpdatesViewModel::CheckForUpdatesViewModel(const SPUUpdater& updater,
                                                   Dispatcher& dispatcher) {
    const auto follow = [&updater, &dispatcher, weak = std::weak_ptr(m_self)] {
        dispatcher.asyncOnMain([&updater, weak] {
            // Read again here, so that a burst of changes ends at the latest value.
            if (const auto self = weak.lock())
                (*self)->canCheckForUpdates = updater.canCheckForUpdates.get();
        });
    };
    m_observation = updater.canCheckForUpdates.subscribe(follow);
    follow();
}

} // namespace lumivert
