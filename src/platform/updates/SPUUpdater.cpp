#include "platform/updates/SPUUpdater.h"

#include <utility>

namespace lumivert {

namespace {

constexpr std::chrono::minutes quietLimit{10};

template <class T>
bool holds(const std::optional<UpdateState>& state) {
    return state && std::holds_alternative<T>(*state);
}

bool answers(const UpdateCheckOutcome& outcome) {
    return std::holds_alternative<UpdateNotNeeded>(outcome) ||
           std::holds_alternative<AvailableUpdate>(outcome);
}

// Asking again within the hour would not help a copy that no repository knows.
bool settles(const UpdateCheckOutcome& outcome) {
    const auto* failure = std::get_if<UpdateFailure>(&outcome);
    return answers(outcome) || (failure && failure->problem == UpdateProblem::notFromRepository);
}

} // namespace

SPUUpdater::SPUUpdater(UpdateEngine& engine, UpdateWindow& window, UpdateClock& clock,
                       std::function<void()> onAnswered)
    : m_engine(engine)
    , m_window(window)
    , m_clock(clock)
    , m_onAnswered(std::move(onAnswered)) {
    m_window.setActions({[this] { install(); }, [this] { dismiss(); }});
}

SPUUpdater::~SPUUpdater() {
    m_alive.reset();
    m_window.setActions({});
    m_engine.cancelCheck();
}

void SPUUpdater::start() {
    canCheckForUpdates = true;
}

void SPUUpdater::show(const UpdateState& state, UpdateWindow::Attention attention) {
    m_shown = state;
    m_window.present(state, attention);
}

void SPUUpdater::run(UpdateCheckKind kind, std::function<void(const UpdateCheckOutcome&)> onDone) {
    canCheckForUpdates = false;
    m_engine.check(
        kind,
        [this, alive = guard()](const UpdateProgress& progress) {
            if (!alive.expired() && holds<UpdateChecking>(m_shown))
                show(UpdateChecking{progress}, UpdateWindow::Attention::keep);
        },
        [this, alive = guard(), onDone = std::move(onDone)](const UpdateCheckOutcome& outcome) {
            if (alive.expired())
                return;
            m_limit.reset();
            if (answers(outcome) && m_onAnswered)
                m_onAnswered();
            onDone(outcome);
            canCheckForUpdates = true;
        });
}

void SPUUpdater::checkForUpdates() {
    if (!canCheckForUpdates) {
        if (m_shown)
            m_window.present(*m_shown, UpdateWindow::Attention::toFront);
        return;
    }
    show(UpdateChecking{}, UpdateWindow::Attention::toFront);
    run(UpdateCheckKind::asked, [this](const UpdateCheckOutcome& outcome) { conclude(outcome); });
}

void SPUUpdater::conclude(const UpdateCheckOutcome& outcome) {
    constexpr auto keep = UpdateWindow::Attention::keep;
    if (const auto* found = std::get_if<AvailableUpdate>(&outcome)) {
        show(*found, keep);
    } else if (const auto* current = std::get_if<UpdateNotNeeded>(&outcome)) {
        // "Up to date" would be said of a version that does not run yet.
        if (m_installed)
            show(*m_installed, keep);
        else
            show(*current, keep);
    } else if (const auto* failure = std::get_if<UpdateFailure>(&outcome)) {
        show(UpdateFailed{false, *failure}, keep);
    } else {
        m_shown.reset();
        m_window.close();
    }
}

void SPUUpdater::checkQuietly(std::function<void(bool settled)> onDone) {
    if (!canCheckForUpdates || m_window.isOpen()) {
        onDone(false);
        return;
    }
    m_shown.reset();
    m_limit = m_clock.after(quietLimit, [this] { m_engine.cancelCheck(); });
    run(UpdateCheckKind::scheduled,
        [this, onDone = std::move(onDone)](const UpdateCheckOutcome& outcome) {
            if (const auto* found = std::get_if<AvailableUpdate>(&outcome))
                show(*found, UpdateWindow::Attention::quiet);
            onDone(settles(outcome));
        });
}

void SPUUpdater::install() {
    if (!canCheckForUpdates || !holds<AvailableUpdate>(m_shown))
        return;
    const AvailableUpdate update = std::get<AvailableUpdate>(*m_shown);
    canCheckForUpdates = false;
    show(UpdateInstalling{update.version, {}}, UpdateWindow::Attention::keep);
    m_engine.install(
        update,
        [this, alive = guard(), version = update.version](const UpdateProgress& progress) {
            if (!alive.expired())
                show(UpdateInstalling{version, progress}, UpdateWindow::Attention::keep);
        },
        [this, alive = guard()](const UpdateInstallOutcome& outcome) {
            if (alive.expired())
                return;
            // Opens the window again for whoever closed it meanwhile: the end has to be known.
            const auto attention =
                m_window.isOpen() ? UpdateWindow::Attention::keep : UpdateWindow::Attention::quiet;
            if (const auto* installed = std::get_if<UpdateInstalled>(&outcome)) {
                m_installed = *installed;
                show(*installed, attention);
            } else {
                show(UpdateFailed{true, std::get<UpdateFailure>(outcome)}, attention);
            }
            canCheckForUpdates = true;
        });
}

void SPUUpdater::dismiss() {
    m_window.close();
    if (holds<UpdateChecking>(m_shown))
        m_engine.cancelCheck();
    if (!holds<UpdateInstalling>(m_shown))
        m_shown.reset();
}

} // namespace lumivert
