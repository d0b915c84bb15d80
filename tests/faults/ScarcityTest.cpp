#include "faults/PrintWorld.h"
#include "support/InChild.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <grp.h>
#include <iostream>
#include <sys/resource.h>

namespace lumivert {
namespace {

/// A soft limit of this process, for a scope.
class Limited {
public:
    Limited(__rlimit_resource resource, rlim_t most)
        : m_resource(resource) {
        ::getrlimit(resource, &m_usual);
        const rlimit limit{most, m_usual.rlim_max};
        ::setrlimit(resource, &limit);
    }
    Limited(const Limited&) = delete;
    Limited& operator=(const Limited&) = delete;
    ~Limited() { ::setrlimit(m_resource, &m_usual); }

private:
    __rlimit_resource m_resource;
    rlimit m_usual{};
};

/// Prints with 1, 2, 3 … of what is scarce, until `sufficient` prints in a row succeed: every one
/// ends in the whole page at the printer, or in a message and none. In a child, whose exit status
/// tells: 0, or what went wrong.
int printsOrTells(PrivateScheduler& scheduler, __rlimit_resource resource) {
    constexpr int sufficient = 3;
    PrintWorld world(scheduler);
    if (!world.print().empty())
        return 1;
    const auto usual = world.arrived();
    if (!usual)
        return 2;
    int refused = 0;
    int inARow = 0;
    for (rlim_t most = 1; inARow < sufficient; ++most) {
        if (most > 200)
            return 3;
        std::string message;
        {
            const Limited limited(resource, most);
            message = world.print();
        }
        // What lp had announced before it failed would be waited for a quarter of an hour.
        if (!message.empty())
            world.run("/usr/bin/cancel", {"-a", PrintWorld::queue});
        const auto arrived = world.arrived();
        const bool isRight = message.empty() ? arrived == usual : !arrived;
        inARow = message.empty() ? inARow + 1 : 0;
        refused += message.empty() ? 0 : 1;
        if (!isRight) {
            std::cerr << "with " << most << ": \"" << message << "\", "
                      << (arrived ? "another page arrived\n" : "no page arrived\n");
            return 4;
        }
    }
    // With enough again the next print is as the first was.
    if (!world.print().empty() || world.arrived() != usual)
        return 5;
    return refused > 0 ? 0 : 6;
}

TEST(Scarcity, ofDescriptorsEndsInAMessageOrTheWholePage) {
#if defined(LUMIVERT_SANITIZED)
    GTEST_SKIP() << "UndefinedBehaviorSanitizer asks a pipe whether an object is there";
#endif
    PrivateScheduler scheduler;
    const SchedulerEnvironment environment(scheduler);
    EXPECT_EQ(inChild([&] { return printsOrTells(scheduler, RLIMIT_NOFILE); }), 0);
}

// Threads count as processes. Root knows no such limit; a user of whom there is nothing else knows
// it from one up.
TEST(Scarcity, ofProcessesAndThreadsEndsInAMessageOrTheWholePage) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "counts the processes of a user of its own, which only root can become";
    PrivateScheduler scheduler;
    const SchedulerEnvironment environment(scheduler);
    // Where it takes what arrived.
    std::filesystem::permissions(scheduler.folder() + "/output", std::filesystem::perms(0777));
    EXPECT_EQ(inChild([&] {
                  const auto user = static_cast<uid_t>(1'000'000 + ::getpid());
                  if (::setgroups(0, nullptr) != 0 || ::setgid(user) != 0 || ::setuid(user) != 0)
                      return 10;
                  return printsOrTells(scheduler, RLIMIT_NPROC);
              }),
              0);
}

} // namespace
} // namespace lumivert
