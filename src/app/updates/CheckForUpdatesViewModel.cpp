#include "app/updates/CheckForUpdatesViewModel.h"

namespace lumivert {

CheckForUpdatesViewModel::CheckForUpdatesViewModel(const SPUUpdater& updater,
                                                   Dispatcher& dispatcher) {
    // On whatever thread the updater changes its flag: nothing of the model is touched here.
    m_observation = updater.observeCanCheckForUpdates([&, weak = std::weak_ptr(m_self)] {
        dispatcher.asyncOnMain([&updater, weak] {
            // Read again here, so that a burst of changes ends at the latest value.
            if (const auto self = weak.lock())
                (*self)->canCheckForUpdates = updater.canCheckForUpdates();
        });
    });
}

} // namespace lumivert
