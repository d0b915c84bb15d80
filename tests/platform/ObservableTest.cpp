#include "platform/Observable.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace lumivert {
namespace {

struct Sides {
    double top = 0;
    double left = 0;

    bool operator==(const Sides&) const = default;
};

class Sheet : public ObservableObject {
public:
    Published<int> count{this, 1};
    Published<Sides> sides{this, {1, 2}};
    Published<std::vector<int>> list{this, {1, 2, 3}};
    Published<std::optional<std::string>> note{this, std::nullopt};

    using ObservableObject::announceChange;
};

// A property is changed by assignment alone: nothing else compiles.
template <class P>
constexpr bool canBeWrittenAround = requires(P& p) {
    *p = {};
}
|| requires(P& p) {
    p.get() = {};
}
|| requires(P& p) {
    p->top = 1.0;
}
|| requires(P& p) {
    (*p).top = 1.0;
}
|| requires(P& p) {
    p->push_back(1);
}
|| requires(P& p) {
    (*p)[0] = 1;
}
|| requires(P& p) {
    p.get().clear();
}
|| requires(P& p) {
    p->reset();
}
|| requires(P& p) {
    ++p;
}
|| requires(P& p) {
    p++;
}
|| requires(P& p) {
    p += 1;
}
|| requires(P& p) {
    p.m_value;
}
|| requires(P& p) {
    [](auto& value) -> decltype(value = {}) { return value = {}; }(*p);
};
static_assert(!canBeWrittenAround<Published<int>>);
static_assert(!canBeWrittenAround<Published<double>>);
static_assert(!canBeWrittenAround<Published<Sides>>);
static_assert(!canBeWrittenAround<Published<std::vector<int>>>);
static_assert(!canBeWrittenAround<Published<std::optional<std::string>>>);
// The question itself can be answered with yes, by each of its kinds.
static_assert(canBeWrittenAround<int>);
static_assert(canBeWrittenAround<std::optional<Sides>>);
static_assert(canBeWrittenAround<std::optional<std::vector<int>>>);
static_assert(!std::is_convertible_v<Published<int>&, int&>);
static_assert(std::is_convertible_v<Published<int>&, const int&>);
static_assert(!std::is_copy_constructible_v<Published<int>>);
static_assert(!std::is_copy_assignable_v<Published<int>>, "a copy would be a write unseen");
static_assert(!std::is_move_assignable_v<Published<int>>);
static_assert(!std::is_copy_constructible_v<Sheet> && !std::is_move_constructible_v<Sheet>);
static_assert(!std::is_copy_assignable_v<Sheet> && !std::is_move_assignable_v<Sheet>);
static_assert(!std::is_copy_constructible_v<Subscription>);
static_assert(std::is_nothrow_move_constructible_v<Subscription>);

TEST(Published, notifiesOnceAtEveryAssignmentAlsoOfAnEqualValue) {
    Sheet sheet;
    int own = 0;
    int others = 0;
    int whole = 0;
    const auto a = sheet.count.subscribe([&] { ++own; });
    const auto b = sheet.sides.subscribe([&] { ++others; });
    const auto c = sheet.subscribe([&] { ++whole; });
    EXPECT_EQ(own + others + whole, 0) << "not at the subscription";

    sheet.count = 2;
    EXPECT_EQ(own, 1);
    EXPECT_EQ(whole, 1);
    sheet.count = 2;
    EXPECT_EQ(own, 2);
    EXPECT_EQ(whole, 2);
    sheet.count = sheet.count.get();
    EXPECT_EQ(own, 3);
    EXPECT_EQ(others, 0);
    sheet.sides = {.top = 5, .left = 6};
    EXPECT_EQ(own, 3);
    EXPECT_EQ(others, 1);
    EXPECT_EQ(whole, 4);
}

TEST(Published, readsDoNotNotify) {
    Sheet sheet;
    int whole = 0;
    const auto subscription = sheet.subscribe([&] { ++whole; });
    const int count = sheet.count;
    EXPECT_EQ(count + *sheet.count + sheet.count.get(), 3);
    EXPECT_EQ(sheet.sides->left, 2);
    EXPECT_EQ(sheet.list->size(), 3U);
    EXPECT_EQ(whole, 0);
}

TEST(Published, tellsItsOwnObserversThenItsObjectsWithTheNewValueInPlace) {
    Sheet sheet;
    std::vector<std::string> log;
    const auto note = [&](const char* who) { log.push_back(who + std::to_string(sheet.count)); };
    const auto a = sheet.subscribe([&] { note("object "); });
    const auto b = sheet.count.subscribe([&] { note("first "); });
    const auto c = sheet.count.subscribe([&] { note("second "); });
    sheet.count = 7;
    EXPECT_EQ(log, (std::vector<std::string>{"first 7", "second 7", "object 7"}));
}

TEST(Published, canBeAssignedFromItself) {
    Sheet sheet;
    sheet.list = *sheet.list;
    EXPECT_EQ(sheet.list.get(), (std::vector{1, 2, 3}));
}

TEST(Published, letsAnObserverAssignIt) {
    Sheet sheet;
    std::vector<int> seen;
    const auto subscription = sheet.count.subscribe([&] {
        seen.push_back(sheet.count);
        if (sheet.count < 5)
            sheet.count = sheet.count + 1;
    });
    int whole = 0;
    const auto object = sheet.subscribe([&] { ++whole; });
    sheet.count = 3;
    EXPECT_EQ(seen, (std::vector{3, 4, 5}));
    EXPECT_EQ(whole, 3) << "one for each assignment";
}

TEST(Published, letsAnObserverOfItDestroyTheObject) {
    auto sheet = std::make_unique<Sheet>();
    int later = 0;
    const auto a = sheet->count.subscribe([&] { sheet.reset(); });
    const auto b = sheet->count.subscribe([&] { ++later; });
    const auto c = sheet->subscribe([&] { ++later; });
    sheet->count = 2;
    EXPECT_EQ(sheet, nullptr);
    EXPECT_EQ(later, 0) << "nobody is told of an object that is gone";
}

TEST(Published, letsAnObserverOfItsObjectDestroyTheObject) {
    auto sheet = std::make_unique<Sheet>();
    int later = 0;
    const auto a = sheet->subscribe([&] { sheet.reset(); });
    const auto b = sheet->subscribe([&] { ++later; });
    sheet->count = 2;
    EXPECT_EQ(sheet, nullptr);
    EXPECT_EQ(later, 0);
}

TEST(ObservableObject, announcesAChangeWithoutAnAssignment) {
    Sheet sheet;
    int own = 0;
    int whole = 0;
    const auto a = sheet.count.subscribe([&] { ++own; });
    const auto b = sheet.subscribe([&] { ++whole; });
    sheet.announceChange();
    EXPECT_EQ(own, 0);
    EXPECT_EQ(whole, 1);
}

TEST(Signal, callsReceiversInTheirOrder) {
    Signal signal;
    std::vector<std::string> log;
    const auto a = signal.subscribe([&] { log.push_back("a"); });
    const auto b = signal.subscribe([&] { log.push_back("b"); });
    EXPECT_TRUE(signal.fire());
    EXPECT_TRUE(signal.fire());
    EXPECT_EQ(log, (std::vector<std::string>{"a", "b", "a", "b"}));
}

TEST(Signal, withoutReceiversFiresIntoNothing) {
    Signal signal;
    EXPECT_TRUE(signal.fire());
}

TEST(Subscription, endsWithItsHolder) {
    Signal signal;
    int calls = 0;
    {
        const auto subscription = signal.subscribe([&] { ++calls; });
        signal.fire();
    }
    signal.fire();
    EXPECT_EQ(calls, 1);
}

TEST(Subscription, endsOnceWhenToldTo) {
    Signal signal;
    int calls = 0;
    int others = 0;
    auto subscription = signal.subscribe([&] { ++calls; });
    const auto other = signal.subscribe([&] { ++others; });
    subscription.end();
    subscription.end();
    signal.fire();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(others, 1);
}

TEST(Subscription, movesItsReceiverAlong) {
    Signal signal;
    int first = 0;
    int second = 0;
    Subscription kept;
    {
        auto subscription = signal.subscribe([&] { ++first; });
        kept = std::move(subscription);
    }
    signal.fire();
    EXPECT_EQ(first, 1);
    kept = signal.subscribe([&] { ++second; });
    signal.fire();
    EXPECT_EQ(first, 1) << "what it held before has ended";
    EXPECT_EQ(second, 1);
    auto& same = kept;
    kept = std::move(same);
    signal.fire();
    EXPECT_EQ(second, 2) << "moved onto itself it stays";
    const Subscription moved(std::move(kept));
    signal.fire();
    EXPECT_EQ(second, 3);
}

TEST(Subscription, mayOutliveItsSignal) {
    Subscription subscription;
    {
        Signal signal;
        subscription = signal.subscribe([] {});
    }
    subscription.end();
}

TEST(Subscription, letsGoOfWhatItsReceiverHolds) {
    Signal signal;
    const auto held = std::make_shared<int>(1);
    auto subscription = signal.subscribe([held] {});
    EXPECT_EQ(held.use_count(), 2);
    subscription.end();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(SignalWhileItFires, callsANewReceiverAtTheNextFiringOnly) {
    Signal signal;
    std::vector<Subscription> subscriptions;
    int late = 0;
    subscriptions.push_back(signal.subscribe([&] {
        // Many, so that the list moves in memory.
        for (int i = 0; i < 100; ++i)
            subscriptions.push_back(signal.subscribe([&] { ++late; }));
    }));
    int after = 0;
    const auto subscription = signal.subscribe([&] { ++after; });
    signal.fire();
    EXPECT_EQ(late, 0);
    EXPECT_EQ(after, 1);
    signal.fire();
    EXPECT_EQ(late, 100);
}

TEST(SignalWhileItFires, doesNotCallAReceiverWhoseSubscriptionEnded) {
    Signal signal;
    Subscription second;
    int calls = 0;
    int third = 0;
    const auto first = signal.subscribe([&] { second.end(); });
    second = signal.subscribe([&] { ++calls; });
    const auto last = signal.subscribe([&] { ++third; });
    signal.fire();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(third, 1);
    signal.fire();
    EXPECT_EQ(third, 2);
}

TEST(SignalWhileItFires, letsAReceiverEndItself) {
    Signal signal;
    Subscription own;
    int calls = 0;
    int others = 0;
    own = signal.subscribe([&, held = std::make_shared<std::string>("still there")] {
        own.end();
        ++calls;
        EXPECT_EQ(*held, "still there") << "a running receiver lives to its end";
    });
    const auto other = signal.subscribe([&] { ++others; });
    signal.fire();
    signal.fire();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(others, 2);
}

TEST(SignalWhileItFires, letsAReceiverEndAnEarlierOne) {
    Signal signal;
    int calls = 0;
    auto first = signal.subscribe([&] { ++calls; });
    const auto second = signal.subscribe([&] { first.end(); });
    int last = 0;
    const auto third = signal.subscribe([&] { ++last; });
    signal.fire();
    signal.fire();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(last, 2) << "nobody is skipped when the list shrinks";
}

TEST(SignalWhileItFires, mayBeDestroyedAndCallsNobodyElseThen) {
    auto signal = std::make_unique<Signal>();
    int later = 0;
    const auto first = signal->subscribe([&] { signal.reset(); });
    const auto second = signal->subscribe([&] { ++later; });
    EXPECT_FALSE(signal->fire());
    EXPECT_EQ(later, 0);
}

TEST(SignalWhileItFires, firesInsideAFiring) {
    Signal signal;
    std::vector<std::string> log;
    int depth = 0;
    Subscription ended = signal.subscribe([&] { log.push_back("ended"); });
    const auto first = signal.subscribe([&] {
        log.push_back("first" + std::to_string(depth));
        if (depth++ == 0) {
            ended.end();
            signal.fire();
        }
    });
    const auto second = signal.subscribe([&] { log.push_back("second"); });
    signal.fire();
    EXPECT_EQ(log, (std::vector<std::string>{"ended", "first0", "first1", "second", "second"}));
}

TEST(SignalWhileItFires, staysWholeWhenAReceiverThrows) {
    Signal signal;
    bool throws = true;
    Subscription ended = signal.subscribe([] {});
    const auto first = signal.subscribe([&] {
        ended.end();
        if (throws)
            throw std::runtime_error("no");
    });
    int calls = 0;
    const auto second = signal.subscribe([&] { ++calls; });
    EXPECT_THROW(signal.fire(), std::runtime_error);
    throws = false;
    signal.fire();
    EXPECT_EQ(calls, 1);
}

TEST(Signal, letsAReceiverOwnOtherSubscriptionsOfIt) {
    Signal signal;
    int calls = 0;
    std::vector<Subscription> others;
    for (int i = 0; i < 8; ++i)
        others.push_back(signal.subscribe([&] { ++calls; }));
    auto owner = signal.subscribe(
        [held = std::make_shared<std::vector<Subscription>>(std::move(others))] {});
    const auto last = signal.subscribe([&] { calls += 100; });
    signal.fire();
    EXPECT_EQ(calls, 108);
    owner.end(); // takes the eight with it
    signal.fire();
    EXPECT_EQ(calls, 208);
}

TEST(SignalWhileItFires, letsAReceiverThatOwnsSubscriptionsGo) {
    Signal signal;
    int calls = 0;
    Subscription owner;
    owner = signal.subscribe([&owner, held = std::make_shared<Subscription>(
                                          signal.subscribe([&] { ++calls; }))] { owner.end(); });
    int last = 0;
    const auto other = signal.subscribe([&] { ++last; });
    signal.fire();
    signal.fire();
    EXPECT_EQ(calls, 1) << "it stood before its owner in the list";
    EXPECT_EQ(last, 2);
}

} // namespace
} // namespace lumivert
