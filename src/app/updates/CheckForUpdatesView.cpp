#include "app/updates/CheckForUpdatesView.h"

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

CheckForUpdatesView::CheckForUpdatesView(SPUUpdater& updater, Dispatcher& dispatcher,
                                         QObject* parent)
    : QAction(QStringLiteral("Check for Updates…"), parent)
    , m_checkForUpdatesViewModel(updater, dispatcher)
    , m_updater(updater) {
    setMenuRole(QAction::NoRole); // its place is its menu's decision, not that of its words
    const auto refresh = [this] {
        setEnabled(m_checkForUpdatesViewModel.canCheckForUpdates.get());
    };
    refresh();
    m_subscription = m_checkForUpdatesViewModel.subscribe(refresh);
    connect(this, &QAction::triggered, this, [this] { m_updater.checkForUpdates(); });
}

} // namespace lumivert
