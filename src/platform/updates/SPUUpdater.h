#pragma once

#include "platform/Observable.h"
#include "platform/Updates.h"

#include <functional>
#include <memory>
#include <optional>

namespace lumivert {

/// The updater: leads a check from its start to its end, and the installation that may follow,
/// through the engine and the window. Main thread. What it is given is borrowed and outlives it.
class SPUUpdater : public ObservableObject {
public:
    /// `onAnswered` runs after each check that learned whether a newer version exists.
    SPUUpdater(UpdateEngine& engine, UpdateWindow& window, UpdateClock& clock,
               std::function<void()> onAnswered);
    /// Cancels a check that is under way; an installation goes on without it.
    ~SPUUpdater();

    /// Whether a check that a person asks for may start now: not from the start of a check or an
    /// installation to its end, whatever the end. Written here only.
    Published<bool> canCheckForUpdates{this, true};

    /// A check that a person asked for. The window opens, or comes to the front when it is open; a
    /// second check is not started beside one.
    void checkForUpdates();

    /// A check that nobody asked for: nothing is seen of it unless it finds a newer version. It is
    /// given up after ten minutes. `onDone` says whether the next one may wait for a day; it is
    /// called at once, with false, when the engine or the window is in use.
    void checkQuietly(std::function<void(bool settled)> onDone);

private:
    void show(const UpdateState& state, UpdateWindow::Attention attention);
    void check(UpdateCheckKind kind, UpdateEngine::OnState onEnd);
    void install();
    void dismiss();
    /// `onState` for as long as this object lives; the engine may tell later than that.
    [[nodiscard]] UpdateEngine::OnState whileAlive(UpdateEngine::OnState onState) const;

    UpdateEngine& m_engine;
    UpdateWindow& m_window;
    UpdateClock& m_clock;
    std::function<void()> m_onAnswered;

    /// What the window shows, or would show if it were open.
    std::optional<UpdateState> m_shown;
    /// What this run of the program has installed: newer than the program that runs.
    std::optional<UpdateInstalled> m_installed;
    UpdateClock::Alarm m_limit;
    std::shared_ptr<const bool> m_alive = std::make_shared<const bool>(true);
};

} // namespace lumivert
