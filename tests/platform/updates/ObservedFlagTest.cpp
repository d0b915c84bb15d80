#include "platform/updates/ObservedFlag.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

namespace lumivert {
namespace {

using testing::ElementsAre;

TEST(ObservedFlag, deliversAtOnceAndAgainOnEachNewValue) {
    ObservedFlag flag(true);
    std::vector<bool> seen;
    const auto observation = flag.observe([&] { seen.push_back(flag.get()); });
    EXPECT_THAT(seen, ElementsAre(true));
    flag.set(false);
    flag.set(false);
    flag.set(true);
    EXPECT_THAT(seen, ElementsAre(true, false, true));
}

TEST(ObservedFlag, runsTheHandlerOnTheThreadThatSetsTheValue) {
    ObservedFlag flag(false);
    std::vector<std::thread::id> threads;
    const auto observation = flag.observe([&] { threads.push_back(std::this_thread::get_id()); });
    std::thread other([&] { flag.set(true); });
    const auto id = other.get_id();
    other.join();
    EXPECT_THAT(threads, ElementsAre(std::this_thread::get_id(), id));
}

TEST(ObservedFlag, isNotHeardAfterTheEndOfTheObservation) {
    ObservedFlag flag(false);
    int calls = 0;
    {
        const auto observation = flag.observe([&] { ++calls; });
        flag.set(true);
    }
    flag.set(false);
    EXPECT_EQ(calls, 2);
}

TEST(ObservedFlag, anAssignedObservationEndsTheFormer) {
    ObservedFlag flag(false);
    int first = 0;
    int second = 0;
    auto observation = flag.observe([&] { ++first; });
    observation = flag.observe([&] { ++second; });
    flag.set(true);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 2);
}

TEST(ObservedFlag, aHandlerMayEndItsOwnObservation) {
    ObservedFlag flag(false);
    int calls = 0;
    std::optional<FlagObservation> observation;
    observation = flag.observe([&] {
        ++calls;
        if (observation)
            observation.reset();
    });
    flag.set(true);
    flag.set(false);
    EXPECT_EQ(calls, 2);
}

TEST(ObservedFlag, mayGoBeforeItsObservation) {
    auto flag = std::make_unique<ObservedFlag>(false);
    auto observation = flag->observe([] {});
    flag.reset();
    observation.end();
}

TEST(ObservedFlag, noHandlerRunsOnceEndHasReturned) {
    ObservedFlag flag(false);
    std::atomic<bool> stop = false;
    std::thread setter([&] {
        for (bool value = true; !stop; value = !value)
            flag.set(value);
    });
    for (int i = 0; i < 500; ++i) {
        auto target = std::make_unique<std::atomic<int>>(0);
        auto observation = flag.observe([raw = target.get()] { ++*raw; });
        observation.end();
        const int calls = *target;
        EXPECT_GE(calls, 1);
        std::this_thread::yield();
        EXPECT_EQ(*target, calls);
        target.reset(); // a handler that still ran would write into freed memory
    }
    stop = true;
    setter.join();
}

TEST(ObservedFlag, everyThreadsChangeIsHeard) {
    ObservedFlag flag(false);
    std::atomic<bool> last = true;
    const auto observation = flag.observe([&] { last = flag.get(); });
    std::vector<std::thread> setters;
    for (int i = 0; i < 4; ++i)
        setters.emplace_back([&, i] {
            for (int step = 0; step < 1000; ++step)
                flag.set((step + i) % 2 == 0);
        });
    for (std::thread& setter : setters)
        setter.join();
    EXPECT_EQ(last, flag.get());
}

} // namespace
} // namespace lumivert
