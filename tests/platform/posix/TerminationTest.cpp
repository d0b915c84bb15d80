#include "platform/posix/PosixFunctions.h"
#include "platform/system/Descriptor.h"
#include "support/InChild.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace lumivert {
namespace {

bool isReadable(int fd) {
    pollfd entry{fd, POLLIN, 0};
    return ::poll(&entry, 1, 0) == 1;
}

TEST(Termination, endsTheToolThatIsWaitedForAndLetsNoOtherStart) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "ThreadSanitizer holds signals back until a call that it knows";
#endif
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        EXPECT_EQ(inChild([&] {
                      ::alarm(30);
                      const int ended = endInOrderOnSignals();
                      if (ended < 0 || isReadable(ended))
                          return 1;
                      const std::string line = "sleep 0.3; kill -" + std::to_string(signal) + " " +
                                               std::to_string(::getpid()) + "; sleep 600; true";
                      const auto result = runProcess("/bin/sh", {"-c", line});
                      const auto* outcome = std::get_if<ProcessOutcome>(&result);
                      if (!outcome || outcome->exitStatus != 128 + SIGKILL)
                          return 2;
                      if (!isReadable(ended))
                          return 3;
                      const auto next = runProcess("/bin/true", {});
                      return std::holds_alternative<LaunchFailure>(next) ? 0 : 4;
                  }),
                  0)
            << signal;
}

TEST(Termination, endsEveryWaitAlsoForWhatNeverRunsDry) {
    EXPECT_EQ(inChild([] {
                  ::alarm(30);
                  std::array<int, 2> ends{};
                  if (::pipe2(ends.data(), O_CLOEXEC) != 0 || endInOrderOnSignals() < 0)
                      return 1;
                  const auto deadline = std::chrono::steady_clock::now() + std::chrono::hours(1);
                  ::raise(SIGTERM);
                  if (waitReadable(ends[0], deadline))
                      return 2;
                  if (::write(ends[1], "x", 1) != 1 || waitReadable(ends[0], deadline))
                      return 3;
                  return 0;
              }),
              0);
}

TEST(Termination, leavesTheSecondSignalItsWay) {
    EXPECT_EQ(inChild([] {
                  if (endInOrderOnSignals() < 0)
                      return 1;
                  ::raise(SIGTERM);
                  ::raise(SIGTERM);
                  return 2;
              }),
              128 + SIGTERM);
}

} // namespace
} // namespace lumivert
