#pragma once

#include "platform/Dispatcher.h"
#include "platform/Observable.h"
#include "platform/updates/SPUUpdater.h"

#include <QAction>

#include <memory>

namespace lumivert {

/// Tells the menu item whether a check may start. Main thread; the updater and the dispatcher are
/// borrowed and outlive it.
class CheckForUpdatesViewModel : public ObservableObject {
public:
    CheckForUpdatesViewModel(const SPUUpdater& updater, Dispatcher& dispatcher);

    /// True while the updater accepts a check that a person asks for. False at first; it follows
    /// the updater from the next turn of the main thread on.
    Published<bool> canCheckForUpdates{this, false};

private:
    /// Held weakly by steps that wait for the main thread: gone with the model.
    std::shared_ptr<CheckForUpdatesViewModel*> m_self =
        std::make_shared<CheckForUpdatesViewModel*>(this);
    Subscription m_observation;
};

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
