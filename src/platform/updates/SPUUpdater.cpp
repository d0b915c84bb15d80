#include "platform/updates/SPUUpdater.h"

#include <utility>

namespace lumivert {

namespace {

using Attention = UpdateWindow::Attention;

constexpr std::chrono::minutes quietLimit{10};

template <class T>
bool holds(const std::optional<UpdateState>& state) {
    return state && std::holds_alternative<T>(*state);
}

bool answers(const UpdateState& end) {
    return std::holds_alternative<UpdateNotNeeded>(end) ||
           std::holds_alternative<AvailableUpdate>(end);
}

// Asking again within the hour would not help a copy that no repository knows.
bool settles(const UpdateState& end) {
    const auto* failure = std::get_if<UpdateFailed>(&end);
    return answers(end) || (failure && failure->problem == UpdateProblem::notFromRepository);
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

void SPUUpdater::show(const UpdateState& state, Attention attention) {
    m_shown = state;
    m_window.present(state, attention);
}

UpdateEngine::OnState SPUUpdater::whileAlive(UpdateEngine::OnState onState) const {
    return [alive = std::weak_ptr(m_alive), onState = std::move(onState)](const auto& state) {
        if (!alive.expired())
            onState(state);
    };
}

void SPUUpdater::check(UpdateCheckKind kind, UpdateEngine::OnState onEnd) {
    canCheckForUpdates = false;
    m_engine.check(kind, whileAlive([this, onEnd = std::move(onEnd)](const UpdateState& state) {
                       if (std::holds_alternative<UpdateChecking>(state)) {
                           if (holds<UpdateChecking>(m_shown))
                               show(state, Attention::keep);
                           return;
                       }
                       m_limit.reset();
                       if (answers(state) && m_onAnswered)
                           m_onAnswered();
                       onEnd(state);
                       canCheckForUpdates = true;
                   }));
}

void SPUUpdater::checkForUpdates() {
    if (!canCheckForUpdates) {
        if (m_shown)
            m_window.present(*m_shown, Attention::toFront);
        return;
    }
    show(UpdateChecking{}, Attention::toFront);
    check(UpdateCheckKind::asked, [this](const UpdateState& end) {
        if (std::holds_alternative<UpdateUnanswered>(end)) {
            m_shown.reset();
            m_window.closeWindow();
        } else if (m_installed && std::holds_alternative<UpdateNotNeeded>(end)) {
            // "Up to date" would be said of a version that does not run yet.
            show(*m_installed, Attention::keep);
        } else {
            show(end, Attention::keep);
        }
    });
}

void SPUUpdater::checkQuietly(std::function<void(bool settled)> onDone) {
    if (!canCheckForUpdates || m_window.isOpen()) {
        onDone(false);
        return;
    }
    m_shown.reset();
    m_limit = m_clock.after(quietLimit, [this] { m_engine.cancelCheck(); });
    check(UpdateCheckKind::scheduled, [this, onDone = std::move(onDone)](const UpdateState& end) {
        if (std::holds_alternative<AvailableUpdate>(end))
            show(end, Attention::quiet);
        onDone(settles(end));
    });
}

void SPUUpdater::install() {
    if (!canCheckForUpdates || !holds<AvailableUpdate>(m_shown))
        return;
    const AvailableUpdate update = std::get<AvailableUpdate>(*m_shown);
    canCheckForUpdates = false;
    show(UpdateInstalling{update.version, {}}, Attention::keep);
    m_engine.install(update, whileAlive([this](const UpdateState& state) {
                         if (std::holds_alternative<UpdateInstalling>(state)) {
                             show(state, Attention::keep);
                             return;
                         }
                         if (const auto* installed = std::get_if<UpdateInstalled>(&state))
                             m_installed = *installed;
                         // Opens the window again for whoever closed it meanwhile: the end has to
                         // be known.
                         show(state, m_window.isOpen() ? Attention::keep : Attention::quiet);
                         canCheckForUpdates = true;
                     }));
}

void SPUUpdater::dismiss() {
    m_window.closeWindow();
    if (holds<UpdateChecking>(m_shown))
        m_engine.cancelCheck();
    if (!holds<UpdateInstalling>(m_shown))
        m_shown.reset();
}

} // namespace lumivert
