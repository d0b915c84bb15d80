#include "app/updates/CheckForUpdatesView.h"
#include "app/updates/CheckForUpdatesViewModel.h"
#include "fakes/FakeServices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace lumivert {
namespace {

using testing::ElementsAre;

/// A dispatcher that any thread may use, as the contract says.
class SharedDispatcher : public Dispatcher {
public:
    void asyncOnMain(std::function<void()> task) override {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
    }
    void asyncInBackground(std::chrono::milliseconds, std::function<void()>) override {}

    std::size_t runMain() {
        std::vector<std::function<void()>> tasks;
        {
            const std::lock_guard lock(m_mutex);
            tasks.swap(m_tasks);
        }
        for (const auto& task : tasks)
            task();
        return tasks.size();
    }

private:
    std::mutex m_mutex;
    std::vector<std::function<void()>> m_tasks;
};

class CheckForUpdatesTest : public testing::Test {
protected:
    ObservedFlag mayCheck{true};
    int checks = 0;
    SPUUpdater updater{mayCheck, [this] { ++checks; }};
    SharedDispatcher dispatcher;
};

TEST_F(CheckForUpdatesTest, theModelStartsFalseAndFollowsOnTheNextTurn) {
    CheckForUpdatesViewModel model(updater, dispatcher);
    EXPECT_FALSE(model.canCheckForUpdates.get());
    EXPECT_EQ(dispatcher.runMain(), 1U);
    EXPECT_TRUE(model.canCheckForUpdates.get());
}

TEST_F(CheckForUpdatesTest, theModelNeverChangesInsideTheUpdatersNotification) {
    CheckForUpdatesViewModel model(updater, dispatcher);
    dispatcher.runMain();
    mayCheck.set(false);
    EXPECT_TRUE(model.canCheckForUpdates.get());
    dispatcher.runMain();
    EXPECT_FALSE(model.canCheckForUpdates.get());
}

TEST_F(CheckForUpdatesTest, aBurstOfChangesEndsAtTheLatestValue) {
    CheckForUpdatesViewModel model(updater, dispatcher);
    mayCheck.set(false);
    mayCheck.set(true);
    mayCheck.set(false);
    std::vector<bool> seen;
    const auto subscription =
        model.subscribe([&] { seen.push_back(model.canCheckForUpdates.get()); });
    EXPECT_EQ(dispatcher.runMain(), 4U);
    EXPECT_THAT(seen, ElementsAre(false, false, false, false))
        << "each step reads the flag as it is then, not as it was";
}

TEST_F(CheckForUpdatesTest, followsChangesFromOtherThreads) {
    CheckForUpdatesViewModel model(updater, dispatcher);
    std::atomic<bool> done = false;
    std::thread changer([&] {
        for (int i = 0; i < 1000; ++i)
            mayCheck.set(i % 2 == 1);
        done = true;
    });
    while (!done)
        dispatcher.runMain();
    changer.join();
    dispatcher.runMain();
    EXPECT_TRUE(model.canCheckForUpdates.get());
    mayCheck.set(false);
    dispatcher.runMain();
    EXPECT_FALSE(model.canCheckForUpdates.get());
}

TEST_F(CheckForUpdatesTest, aStepThatOutlivesTheModelHasNoEffect) {
    auto model = std::make_unique<CheckForUpdatesViewModel>(updater, dispatcher);
    mayCheck.set(false);
    model.reset();
    EXPECT_EQ(dispatcher.runMain(), 2U);
}

TEST_F(CheckForUpdatesTest, theObservationEndsWithTheModel) {
    auto model = std::make_unique<CheckForUpdatesViewModel>(updater, dispatcher);
    model.reset();
    dispatcher.runMain();
    mayCheck.set(false);
    EXPECT_EQ(dispatcher.runMain(), 0U);
}

TEST_F(CheckForUpdatesTest, mayBeDestroyedWhileAnotherThreadChangesTheFlag) {
    std::atomic<bool> stop = false;
    std::thread changer([&] {
        for (bool value = false; !stop; value = !value)
            mayCheck.set(value);
    });
    for (int i = 0; i < 200; ++i) {
        auto model = std::make_unique<CheckForUpdatesViewModel>(updater, dispatcher);
        if (i % 2 == 0)
            dispatcher.runMain();
        model.reset();
        dispatcher.runMain();
    }
    stop = true;
    changer.join();
}

TEST_F(CheckForUpdatesTest, theItemSaysWhatItDoes) {
    const CheckForUpdatesView item(updater, dispatcher, nullptr);
    EXPECT_EQ(item.text(), QStringLiteral("Check for Updates\u2026"));
    EXPECT_TRUE(item.shortcut().isEmpty());
}

TEST_F(CheckForUpdatesTest, theItemIsGreyedOutWhileNoCheckMayStart) {
    CheckForUpdatesView item(updater, dispatcher, nullptr);
    EXPECT_FALSE(item.isEnabled());
    dispatcher.runMain();
    EXPECT_TRUE(item.isEnabled());
    mayCheck.set(false);
    dispatcher.runMain();
    EXPECT_FALSE(item.isEnabled());
    item.trigger();
    EXPECT_EQ(checks, 0);
    mayCheck.set(true);
    dispatcher.runMain();
    EXPECT_TRUE(item.isEnabled());
}

TEST_F(CheckForUpdatesTest, theItemStartsACheck) {
    CheckForUpdatesView item(updater, dispatcher, nullptr);
    dispatcher.runMain();
    item.trigger();
    EXPECT_EQ(checks, 1);
}

} // namespace
} // namespace lumivert
