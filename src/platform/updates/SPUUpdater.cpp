#include "platform/updates/SPUUpdater.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <utility>

namespace lumivert {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_seconds;
using Attention = UpdateWindow::Attention;

constexpr std::chrono::days interval{1};

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

// Nothing sensible in the value counts as "never": a check too many, not a program that never asks.
sys_seconds parse(const std::string& text, sys_seconds now) {
    std::int64_t count = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, count);
    if (result.ec != std::errc() || result.ptr != end || count < 0 ||
        count > now.time_since_epoch().count())
        return {};
    return sys_seconds(std::chrono::seconds(count));
}

} // namespace

SPUUpdater::SPUUpdater(const UpdateServices& services)
    : m_services(services)
    , m_alarm(services.clock.after(5s, [this] { beginSchedule(); })) {
    m_services.window.onInstall = [this] { install(); };
    m_services.window.onDismiss = [this] { dismiss(); };
    m_services.engine.onState = [this](const UpdateState& state) { take(state); };
}

SPUUpdater::~SPUUpdater() {
    m_services.window.onInstall = [] {};
    m_services.window.onDismiss = [] {};
    m_services.engine.onState = [](const auto&) {};
    m_services.engine.cancelCheck();
}

void SPUUpdater::show(const UpdateState& state, Attention attention) {
    m_shown = state;
    m_services.window.present(state, attention);
}

void SPUUpdater::checkForUpdates() {
    if (canCheckForUpdates) {
        show(UpdateChecking{}, Attention::toFront);
        check(UpdateCheckKind::asked);
    } else if (m_shown) {
        m_services.window.present(*m_shown, Attention::toFront);
    }
}

void SPUUpdater::check(UpdateCheckKind kind) {
    beginSchedule();
    m_onSchedule = kind == UpdateCheckKind::scheduled;
    canCheckForUpdates = false;
    m_services.engine.check(kind);
}

void SPUUpdater::install() {
    if (!canCheckForUpdates || !holds<AvailableUpdate>(m_shown))
        return;
    const AvailableUpdate update = std::get<AvailableUpdate>(*m_shown);
    canCheckForUpdates = false;
    show(UpdateInstalling{update.version, {}}, Attention::keep);
    m_services.engine.install(update);
}

void SPUUpdater::take(const UpdateState& state) {
    if (std::holds_alternative<UpdateChecking>(state) ||
        std::holds_alternative<UpdateInstalling>(state)) {
        if (m_shown && m_shown->index() == state.index())
            show(state, Attention::keep);
        return;
    }
    m_limit.reset();
    const bool onSchedule = std::exchange(m_onSchedule, false);
    const sys_seconds now = m_services.clock.now();
    if (answers(state))
        m_services.preferences.setData(preferenceKey,
                                       std::to_string(now.time_since_epoch().count()));
    if (answers(state) || onSchedule)
        planFrom(now + (settles(state) ? interval : 1h));
    if (const auto* installed = std::get_if<UpdateInstalled>(&state))
        m_installed = *installed;
    if (onSchedule) {
        if (std::holds_alternative<AvailableUpdate>(state))
            show(state, Attention::quiet);
    } else if (std::holds_alternative<UpdateUnanswered>(state)) {
        dismiss();
    } else if (m_installed && std::holds_alternative<UpdateNotNeeded>(state)) {
        // "Up to date" would be said of a version that does not run yet.
        show(*m_installed, Attention::keep);
    } else {
        // The end of an installation has to be known, also to who closed its window meanwhile.
        show(state, m_services.window.isOpen() ? Attention::keep : Attention::quiet);
    }
    canCheckForUpdates = true;
}

void SPUUpdater::dismiss() {
    m_services.window.closeWindow();
    if (holds<UpdateChecking>(m_shown))
        m_services.engine.cancelCheck();
    if (!holds<UpdateInstalling>(m_shown))
        m_shown.reset();
}

void SPUUpdater::beginSchedule() {
    if (std::exchange(m_scheduleBegun, true))
        return;
    const auto stored = m_services.preferences.data(preferenceKey);
    m_firstStart = !stored;
    if (stored)
        planFrom(parse(*stored, m_services.clock.now()) + interval);
    else
        m_services.preferences.setData(preferenceKey, "0");
}

void SPUUpdater::planFrom(sys_seconds earliest) {
    if (m_firstStart)
        return;
    m_due = std::max(earliest, m_services.clock.now()) + m_services.clock.randomBetween(20s, 5min);
    waitUntilDue();
}

void SPUUpdater::waitUntilDue() {
    // By the hour: the time that a laptop sleeps does not count for an alarm, and the time of day
    // may be set meanwhile.
    const std::chrono::seconds left =
        std::clamp<std::chrono::seconds>(m_due - m_services.clock.now(), 0s, 1h);
    m_alarm = m_services.clock.after(left, [this] { checkOnSchedule(); });
}

void SPUUpdater::checkOnSchedule() {
    const sys_seconds now = m_services.clock.now();
    if (now < m_due && m_due - now <= interval + 1h)
        return waitUntilDue();
    if (!canCheckForUpdates || m_services.window.isOpen())
        return planFrom(now + 1h);
    m_shown.reset();
    m_limit = m_services.clock.after(10min, [this] { m_services.engine.cancelCheck(); });
    check(UpdateCheckKind::scheduled);
}

} // namespace lumivert
