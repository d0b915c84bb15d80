#pragma once

#include "platform/updates/ObservedFlag.h"

#include <functional>

namespace lumivert {

/// The updater as the menu sees it: may a check start now, and start one.
class SPUUpdater {
public:
    /// `mayCheck` is borrowed and outlives the updater; `check` starts a check that a person asked
    /// for.
    SPUUpdater(ObservedFlag& mayCheck, std::function<void()> check);

    /// True when a check that a person asks for may start now; false while a check or an
    /// installation is under way. Any thread.
    [[nodiscard]] bool canCheckForUpdates() const { return m_mayCheck.get(); }

    /// Runs `handler` at once and again on each new value of `canCheckForUpdates`, on whichever
    /// thread that value is set. Any thread.
    [[nodiscard]] FlagObservation observeCanCheckForUpdates(std::function<void()> handler) const;

    /// Starts a check with its own window; while one is under way, brings its window to the front.
    /// Main thread.
    void checkForUpdates();

private:
    ObservedFlag& m_mayCheck;
    std::function<void()> m_check;
};

} // namespace lumivert
