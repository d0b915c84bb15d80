#include "platform/qt/QtUpdateClock.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <gtest/gtest.h>

#include <set>

namespace lumivert {
namespace {

using namespace std::chrono_literals;

void spinFor(std::chrono::milliseconds time) {
    const QDeadlineTimer deadline(time);
    while (!deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

/// Until `count` has come to `wanted`, and a while on: it must not go beyond.
void spinUntil(const int& count, int wanted) {
    const QDeadlineTimer deadline(20s);
    while (count < wanted && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    spinFor(50ms);
}

TEST(QtUpdateClock, tellsTheTimeOfDay) {
    const auto difference = std::chrono::system_clock::now() - QtUpdateClock().now();
    EXPECT_GE(difference, 0s);
    EXPECT_LT(difference, 2s);
}

TEST(QtUpdateClock, ringsOnceAndNotBeforeItsTime) {
    QtUpdateClock clock;
    int rings = 0;
    const auto begin = std::chrono::steady_clock::now();
    std::chrono::steady_clock::duration after{};
    const auto alarm = clock.after(30ms, [&] {
        ++rings;
        after = std::chrono::steady_clock::now() - begin;
    });
    EXPECT_EQ(rings, 0);
    spinUntil(rings, 1);
    EXPECT_EQ(rings, 1);
    EXPECT_GE(after, 28ms); // coarse timers may be 5 % early
}

TEST(QtUpdateClock, anAlarmThatIsDestroyedDoesNotRing) {
    QtUpdateClock clock;
    int rings = 0;
    auto alarm = clock.after(10ms, [&] { ++rings; });
    alarm.reset();
    spinFor(50ms);
    EXPECT_EQ(rings, 0);
}

TEST(QtUpdateClock, aTaskMayDestroyOrReplaceItsAlarm) {
    QtUpdateClock clock;
    int rings = 0;
    UpdateClock::Alarm alarm;
    alarm = clock.after(5ms, [&] {
        ++rings;
        alarm = clock.after(5ms, [&] {
            ++rings;
            alarm.reset();
        });
    });
    spinUntil(rings, 2);
    EXPECT_EQ(rings, 2);
}

TEST(QtUpdateClock, drawsFromTheWholeRange) {
    QtUpdateClock clock;
    std::set<std::chrono::seconds> seen;
    for (int i = 0; i < 500; ++i)
        seen.insert(clock.randomBetween(2s, 4s));
    EXPECT_EQ(seen, (std::set<std::chrono::seconds>{2s, 3s, 4s}));
}

} // namespace
} // namespace lumivert
