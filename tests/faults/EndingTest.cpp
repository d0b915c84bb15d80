#include "faults/PrintWorld.h"
#include "platform/system/Descriptor.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace lumivert {
namespace {

std::size_t entriesIn(const std::string& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

/// As main() does: prints, tells `ready`, and ends in order when a signal says so.
[[noreturn]] void printAndWaitForTheEnd(PrivateScheduler& scheduler, int ready) {
    const int ended = endInOrderOnSignals();
    PrintWorld world(scheduler);
    if (ended < 0 || !world.print().empty() || world.pages() != 1)
        ::_exit(1);
    QSocketNotifier notifier(ended, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [] { QCoreApplication::exit(); });
    const std::string& folder = world.temporary;
    if (::write(ready, folder.data(), folder.size()) != static_cast<ssize_t>(folder.size()))
        ::_exit(2);
    QCoreApplication::exec();
    world.quit();
    ::_exit(entriesIn(folder) == 0 ? 0 : 3);
}

TEST(Ending, deletesThePagesThatWaitedForTheirDeletion) {
    PrivateScheduler scheduler;
    const SchedulerEnvironment environment(scheduler);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(signal);
        std::array<int, 2> ends{};
        ASSERT_EQ(::pipe(ends.data()), 0);
        const Descriptor reader(ends[0]);
        Descriptor writer(ends[1]);
        const pid_t program = ::fork();
        if (program == 0)
            printAndWaitForTheEnd(scheduler, writer.get());
        writer.reset();
        std::array<char, 200> folder{};
        EXPECT_GT(::read(reader.get(), folder.data(), folder.size() - 1), 0);
        ::kill(program, signal);
        int status = 0;
        ASSERT_EQ(::waitpid(program, &status, 0), program);
        EXPECT_TRUE(WIFEXITED(status)) << WTERMSIG(status);
        EXPECT_EQ(WEXITSTATUS(status), 0);
        std::filesystem::remove_all(std::filesystem::path(folder.data()).parent_path());
        scheduler.removeQueue(PrintWorld::queue);
    }
}

} // namespace
} // namespace lumivert
