#include "platform/updates/SPUStandardUpdaterController.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <utility>

namespace lumivert {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_seconds;

constexpr std::chrono::days interval{1};

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

SPUStandardUpdaterController::SPUStandardUpdaterController(const UpdateServices& services)
    : m_clock(services.clock)
    , m_preferences(services.preferences)
    , m_updater(services.engine, services.window, services.clock, [this] { noteAnswer(); })
    , m_alarm(m_clock.after(5s, [this] { beginSchedule(); })) {}

void SPUStandardUpdaterController::beginSchedule() {
    if (std::exchange(m_scheduleBegun, true))
        return;
    const auto stored = m_preferences.data(preferenceKey);
    m_firstStart = !stored;
    if (m_firstStart) {
        m_preferences.setData(preferenceKey, "0");
        return;
    }
    planFrom(parse(*stored, m_clock.now()) + interval);
}

void SPUStandardUpdaterController::noteAnswer() {
    beginSchedule();
    const sys_seconds now = m_clock.now();
    m_preferences.setData(preferenceKey, std::to_string(now.time_since_epoch().count()));
    planFrom(now + interval);
}

void SPUStandardUpdaterController::planFrom(sys_seconds earliest) {
    if (m_firstStart)
        return;
    m_due = std::max(earliest, m_clock.now()) + m_clock.randomBetween(20s, 5min);
    wait();
}

void SPUStandardUpdaterController::wait() {
    // By the hour: the time that a laptop sleeps does not count for an alarm, and the time of day
    // may be set meanwhile.
    const std::chrono::seconds left =
        std::clamp<std::chrono::seconds>(m_due - m_clock.now(), 0s, 1h);
    m_alarm = m_clock.after(left, [this] { look(); });
}

void SPUStandardUpdaterController::look() {
    const sys_seconds now = m_clock.now();
    if (now < m_due && m_due - now <= interval + 1h) {
        wait();
        return;
    }
    m_updater.checkQuietly(
        [this](bool settled) { planFrom(m_clock.now() + (settled ? interval : 1h)); });
}

} // namespace lumivert
