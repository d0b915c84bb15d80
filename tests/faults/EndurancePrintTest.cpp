#include "faults/PrintWorld.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

namespace lumivert {
namespace {

using namespace std::chrono_literals;

std::ptrdiff_t entriesIn(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

/// The resident memory of this process, in MiB.
double residentMiB() {
    std::ifstream file("/proc/self/statm");
    double total = 0;
    double resident = 0;
    file >> total >> resident;
    return resident * 4096 / (1U << 20U);
}

/// Waits a little for what ends in its own time, such as a thread or a spare decoder.
bool comesTrue(const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + 20s;
    while (!holds() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(20ms);
    return holds();
}

/// lp stands in: the print system has its own limits.
TEST(EndurancePrint, fiveHundredPrintsLeaveNothingBehind) {
    PrivateScheduler scheduler;
    const SchedulerEnvironment environment(scheduler);
    PrintWorld world(scheduler);
    world.replaceTool("lp", "exit 0");
    const auto printSome = [&](int count) {
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(world.print(), "") << i;
            QCoreApplication::processEvents();
        }
    };
    printSome(50);
    const auto descriptors = entriesIn("/proc/self/fd");
    const auto threads = entriesIn("/proc/self/task");
    [[maybe_unused]] const double memory = residentMiB();
    printSome(450);
    EXPECT_TRUE(comesTrue([&] { return entriesIn("/proc/self/fd") <= descriptors + 2; }))
        << entriesIn("/proc/self/fd") << " after " << descriptors;
    EXPECT_TRUE(comesTrue([&] { return entriesIn("/proc/self/task") <= threads + 1; }))
        << entriesIn("/proc/self/task") << " after " << threads;
#if !defined(LUMIVERT_SANITIZED) // a sanitizer keeps what was freed for a while
    EXPECT_LT(residentMiB(), memory + 10);
#endif
    world.quit();
    EXPECT_EQ(world.pages(), 0U);
}

} // namespace
} // namespace lumivert
