#include "platform/qt/QtDispatcher.h"

#include "support/Threads.h"
#include "support/WithoutFurtherThreads.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <string>

namespace lumivert {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// Turns the event loop until `done`, for ten seconds at most.
template <class Condition>
bool spinUntil(Condition done) {
    const QDeadlineTimer deadline(10s);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

/// What ran, in order, from any thread.
class Journal {
public:
    std::function<void()> note(std::string text) {
        return [this, text = std::move(text)] {
            const std::lock_guard lock(m_mutex);
            m_lines.push_back(text);
        };
    }
    std::vector<std::string> lines() {
        const std::lock_guard lock(m_mutex);
        return m_lines;
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

TEST(AsyncOnMain, runsOnALaterTurnAndInOrder) {
    Journal journal;
    QtDispatcher dispatcher;
    dispatcher.asyncOnMain(journal.note("one"));
    dispatcher.asyncOnMain(journal.note("two"));
    EXPECT_TRUE(journal.lines().empty());
    QCoreApplication::processEvents();
    EXPECT_THAT(journal.lines(), ElementsAre("one", "two"));
}

TEST(AsyncOnMain, bringsATaskFromAnotherThreadToTheMainThread) {
    QtDispatcher dispatcher;
    std::thread::id ranOn;
    std::thread([&] {
        dispatcher.asyncOnMain([&] { ranOn = std::this_thread::get_id(); });
    }).join();
    EXPECT_EQ(ranOn, std::thread::id());
    QCoreApplication::processEvents();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST(AsyncOnMain, runsATaskThatATaskAddsOnAnotherTurn) {
    Journal journal;
    QtDispatcher dispatcher;
    dispatcher.asyncOnMain([&] {
        dispatcher.asyncOnMain(journal.note("inner"));
        journal.note("outer")();
    });
    EXPECT_TRUE(spinUntil([&] { return journal.lines().size() == 2; }));
    EXPECT_THAT(journal.lines(), ElementsAre("outer", "inner"));
}

TEST(AsyncOnMain, dropsWhatStillWaitsAtTheEnd) {
    Journal journal;
    {
        QtDispatcher dispatcher;
        dispatcher.asyncOnMain(journal.note("too late"));
    }
    QCoreApplication::processEvents();
    EXPECT_TRUE(journal.lines().empty());
}

TEST(AsyncInBackground, runsOnAnotherThread) {
    QtDispatcher dispatcher;
    std::promise<std::thread::id> ranOn;
    dispatcher.asyncInBackground(0ms, [&] { ranOn.set_value(std::this_thread::get_id()); });
    EXPECT_NE(ranOn.get_future().get(), std::this_thread::get_id());
}

TEST(AsyncInBackground, waitsAsLongAsItWasTold) {
    QtDispatcher dispatcher;
    std::promise<std::chrono::steady_clock::time_point> ranAt;
    const auto start = std::chrono::steady_clock::now();
    dispatcher.asyncInBackground(120ms, [&] { ranAt.set_value(std::chrono::steady_clock::now()); });
    const auto delay = ranAt.get_future().get() - start;
    EXPECT_GE(delay, 120ms);
    EXPECT_LT(delay, 5s);
}

TEST(AsyncInBackground, runsTasksInTheOrderInWhichTheyFallDue) {
    Journal journal;
    QtDispatcher dispatcher;
    std::promise<void> last;
    dispatcher.asyncInBackground(200ms, [&] {
        journal.note("third")();
        last.set_value();
    });
    dispatcher.asyncInBackground(100ms, journal.note("second"));
    dispatcher.asyncInBackground(0ms, journal.note("first"));
    last.get_future().wait();
    EXPECT_THAT(journal.lines(), ElementsAre("first", "second", "third"));
}

TEST(AsyncInBackground, startsItsThreadWithTheFirstTask) {
    const auto before = threads();
    QtDispatcher dispatcher;
    dispatcher.asyncOnMain([] {});
    EXPECT_EQ(threadsSince(before), 0);
    std::promise<void> ran;
    dispatcher.asyncInBackground(0ms, [&] { ran.set_value(); });
    dispatcher.asyncInBackground(10s, [] {});
    ran.get_future().wait();
    EXPECT_EQ(threadsSince(before), 1);
}

TEST(AsyncInBackground, runsWhatStillWaitsAtTheEndAtOnce) {
    Journal journal;
    const auto start = std::chrono::steady_clock::now();
    {
        QtDispatcher dispatcher;
        dispatcher.asyncInBackground(2h, journal.note("later"));
        dispatcher.asyncInBackground(1h, [&] {
            journal.note("sooner")();
            dispatcher.asyncInBackground(3h, journal.note("added meanwhile"));
        });
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
    EXPECT_THAT(journal.lines(), ElementsAre("sooner", "later", "added meanwhile"));
}

TEST(AsyncInBackground, runsWhatStillWaitsWhereAnExitDestroysNothing) {
    Journal journal;
    QtDispatcher dispatcher;
    dispatcher.asyncInBackground(1h, journal.note("waited"));
    dispatcher.finish();
    EXPECT_THAT(journal.lines(), ElementsAre("waited"));
    dispatcher.asyncInBackground(1h, journal.note("late"));
    dispatcher.finish();
    EXPECT_THAT(journal.lines(), ElementsAre("waited", "late"));
}

TEST(AsyncInBackground, takesTasksFromManyThreadsAndFromTasks) {
    std::atomic<int> count = 0;
    {
        QtDispatcher dispatcher;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int j = 0; j < 100; ++j)
                    dispatcher.asyncInBackground(std::chrono::milliseconds(j % 3), [&] {
                        ++count;
                        dispatcher.asyncInBackground(0ms, [&] { ++count; });
                    });
            });
        for (auto& thread : threads)
            thread.join();
    }
    EXPECT_EQ(count, 800);
}

TEST(AsyncInBackground, letsATasksCapturesAddTasksWhenTheyDie) {
    Journal journal;
    {
        QtDispatcher dispatcher;
        std::shared_ptr<void> capture(nullptr, [&](void*) {
            dispatcher.asyncInBackground(0ms, journal.note("from a destructor"));
        });
        dispatcher.asyncInBackground(0ms, [capture = std::move(capture)] {});
    }
    EXPECT_THAT(journal.lines(), ElementsAre("from a destructor"));
}

TEST(AsyncInBackground, runsAtTheEndWhatFoundNoThread) {
    Journal journal;
    {
        QtDispatcher dispatcher;
        const WithoutFurtherThreads none;
        dispatcher.asyncInBackground(10s, journal.note("deleted"));
    }
    EXPECT_THAT(journal.lines(), ElementsAre("deleted"));
}

TEST(AsyncInBackground, outlivesATaskThatFindsNoMemory) {
    Journal journal;
    {
        QtDispatcher dispatcher;
        dispatcher.asyncInBackground(0ms, [] { throw std::bad_alloc(); });
        dispatcher.asyncInBackground(0ms, journal.note("the next"));
    }
    EXPECT_THAT(journal.lines(), ElementsAre("the next"));
}

TEST(AsyncInBackground, canHopToTheMainThread) {
    QtDispatcher dispatcher;
    std::thread::id ranOn;
    dispatcher.asyncInBackground(
        0ms, [&] { dispatcher.asyncOnMain([&] { ranOn = std::this_thread::get_id(); }); });
    EXPECT_TRUE(spinUntil([&] { return ranOn == std::this_thread::get_id(); }));
}

} // namespace
} // namespace lumivert
