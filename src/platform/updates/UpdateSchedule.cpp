#include "platform/updates/UpdateSchedule.h"

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

UpdateSchedule::UpdateSchedule(UpdateClock& clock, PreferencesStore& preferences, Check check)
    : m_clock(clock)
    , m_preferences(preferences)
    , m_check(std::move(check)) {}

void UpdateSchedule::start() {
    m_alarm = m_clock.after(5s, [this] { begin(); });
}

void UpdateSchedule::begin() {
    if (std::exchange(m_begun, true))
        return;
    const auto stored = m_preferences.data(preferenceKey);
    m_firstStart = !stored;
    if (m_firstStart) {
        m_preferences.setData(preferenceKey, "0");
        return;
    }
    planFrom(parse(*stored, m_clock.now()) + interval);
}

void UpdateSchedule::noteAnswer() {
    begin();
    const sys_seconds now = m_clock.now();
    m_preferences.setData(preferenceKey, std::to_string(now.time_since_epoch().count()));
    planFrom(now + interval);
}

void UpdateSchedule::planFrom(sys_seconds earliest) {
    if (m_firstStart)
        return;
    m_due = std::max(earliest, m_clock.now()) + m_clock.randomBetween(20s, 5min);
    wait();
}

void UpdateSchedule::wait() {
    // By the hour: the time that a laptop sleeps does not count for an alarm, and the time of day
    // may be set meanwhile.
    const std::chrono::seconds left =
        std::clamp<std::chrono::seconds>(m_due - m_clock.now(), 0s, 1h);
    m_alarm = m_clock.after(left, [this] { look(); });
}

void UpdateSchedule::look() {
    const sys_seconds now = m_clock.now();
    if (now < m_due && m_due - now <= interval + 1h) {
        wait();
        return;
    }
    m_check([this](bool settled) { planFrom(m_clock.now() + (settled ? interval : 1h)); });
}

} // namespace lumivert
