#pragma once

#include "app/updates/CheckForUpdatesViewModel.h"

#include <QAction>

namespace lumivert {

/// The menu item "Check for Updates…": starts a check, and is greyed out while none may start. The
/// updater and the dispatcher are borrowed and outlive it.
class CheckForUpdatesView : public QAction {
    Q_OBJECT

public:
    CheckForUpdatesView(SPUUpdater& updater, Dispatcher& dispatcher, QObject* parent);

private:
    CheckForUpdatesViewModel m_checkForUpdatesViewModel;
    SPUUpdater& m_updater;
    Subscription m_subscription;
};

} // namespace lumivert
