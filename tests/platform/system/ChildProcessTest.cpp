#include "platform/system/ChildProcess.h"

#include "platform/system/Descriptor.h"
#include "support/InChild.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace lumivert {
namespace {

using namespace std::chrono_literals;

std::optional<ChildProcess> shell(const std::string& line, int output = -1) {
    return ChildProcess::start(
        {.path = "/bin/sh", .arguments = {"-c", line}, .descriptors = {-1, output, output}});
}

// Running: neither gone nor waiting to be reaped by whoever adopts orphans.
bool isRunning(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::size_t name = text.rfind(')');
    return name != std::string::npos && text[name + 2] != 'Z' && text[name + 2] != 'X';
}

bool endsSoon(pid_t process) {
    for (const auto end = std::chrono::steady_clock::now() + 20s; isRunning(process);) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        readEnd = Descriptor(ends[0]);
        writeEnd = Descriptor(ends[1]);
    }
    pid_t readNumber() {
        std::string text(64, '\0');
        const ssize_t count = waitReadable(readEnd.get(), std::chrono::steady_clock::now() + 20s)
                                  ? ::read(readEnd.get(), text.data(), text.size())
                                  : 0;
        return count > 0 ? std::stoi(text) : -1;
    }
    Descriptor readEnd;
    Descriptor writeEnd;
};

TEST(ChildProcess, tellsHowTheChildEnded) {
    EXPECT_EQ(shell("exit 3")->wait(), 3);
    EXPECT_EQ(shell("kill -TERM $$")->wait(), 128 + SIGTERM);
}

TEST(ChildProcess, saysWhyAProgramCannotBeStarted) {
    EXPECT_FALSE(
        ChildProcess::start({.path = "/nonexistent/program", .arguments = {}, .descriptors = {}}));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(ChildProcess::start({.path = "/", .arguments = {}, .descriptors = {}}));
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(ChildProcess, runsTheProgramThatIsOpenWhateverStandsAtItsPath) {
    const TemporaryFolder folder;
    const std::string path = folder / "program";
    std::filesystem::copy_file("/bin/true", path);
    const Descriptor open(::open(path.c_str(), O_PATH | O_CLOEXEC));
    std::filesystem::remove(path);
    std::filesystem::copy_file("/bin/false", path);
    const ChildProgram byPath{.path = path, .arguments = {}, .descriptors = {-1, -1, -1}};
    EXPECT_EQ(ChildProcess::start(byPath)->wait(), 1);
    ChildProgram byDescriptor = byPath;
    byDescriptor.executable = open.get();
    EXPECT_EQ(ChildProcess::start(byDescriptor)->wait(), 0);
}

TEST(ChildProcess, givesEachDescriptorItsNumberWhicheverItHadBefore) {
    EXPECT_EQ(inChild([] {
                  // The sources stand in each other's places.
                  Pipe pipe;
                  ::dup2(pipe.writeEnd.get(), 2);
                  ::dup2(::open("/dev/null", O_RDWR), 1);
                  auto child = ChildProcess::start({.path = "/bin/sh",
                                                    .arguments = {"-c", "echo to the pipe"},
                                                    .descriptors = {1, 2, 1}});
                  std::array<char, 64> text{};
                  if (!child || child->wait() != 0)
                      return 1;
                  const ssize_t count = ::read(pipe.readEnd.get(), text.data(), text.size());
                  return std::string_view(text.data(), static_cast<std::size_t>(count)) ==
                                 "to the pipe\n"
                             ? 0
                             : 2;
              }),
              0);
}

TEST(ChildProcess, isEndedAndReapedWithItsOwner) {
    auto child = shell("exec sleep 600");
    ASSERT_TRUE(child);
    const pid_t number = child->pid();
    EXPECT_TRUE(isRunning(number));
    child.reset();
    EXPECT_EQ(::kill(number, 0), -1);
}

TEST(ChildProcess, endsWithItsStarterHoweverThatEnds) {
    Pipe pipe;
    const pid_t program = ::fork();
    if (program == 0) {
        auto child = ChildProcess::start({.path = "/bin/sh",
                                          .arguments = {"-c", "echo $$; exec sleep 600"},
                                          .descriptors = {-1, pipe.writeEnd.get(), -1},
                                          .endsWithStarter = true});
        for (;;)
            ::pause();
    }
    const pid_t child = pipe.readNumber();
    ASSERT_GT(child, 0);
    EXPECT_TRUE(isRunning(child));
    ::kill(program, SIGKILL);
    ::waitpid(program, nullptr, 0);
    EXPECT_TRUE(endsSoon(child));
}

TEST(ChildProcess, isKilledWithItsChildrenAtTheProgramsEndAndNoOtherStarts) {
    Pipe pipe;
    EXPECT_EQ(inChild([&] {
                  auto child = shell("sleep 600 & echo $!; wait", pipe.writeEnd.get());
                  auto other = shell("exec sleep 600");
                  const pid_t grandchild = pipe.readNumber();
                  if (!child || !other || grandchild <= 0 || !isRunning(grandchild))
                      return 1;
                  if (endInOrderOnSignals() < 0 || ::raise(SIGTERM) != 0)
                      return 5;
                  if (child->wait() != 128 + SIGKILL || other->wait() != 128 + SIGKILL)
                      return 2;
                  if (!endsSoon(grandchild))
                      return 3;
                  return !shell("exit 0") && errno == ECANCELED ? 0 : 4;
              }),
              0);
}

// Descriptors, processes: at each limit from one up a child runs or does not, and nothing is left.
TEST(ChildProcess, startsOrSaysWhyNotAtEveryLimitOfDescriptors) {
    EXPECT_EQ(inChild([] {
                  const auto openOnes = [] {
                      std::vector<int> open;
                      for (int fd = 0; fd < 64; ++fd)
                          if (::fcntl(fd, F_GETFD) >= 0)
                              open.push_back(fd);
                      return open;
                  };
                  const auto before = openOnes();
                  bool worked = false;
                  for (rlim_t limit = 1; limit <= 24; ++limit) {
                      const rlimit both{limit, 1024};
                      ::setrlimit(RLIMIT_NOFILE, &both);
                      auto child = shell("exit 7");
                      const int error = errno;
                      const auto status = child ? child->wait() : std::nullopt;
                      if (child ? status != 7 : error != EMFILE)
                          return static_cast<int>(limit);
                      worked = worked || child.has_value();
                      if (openOnes() != before)
                          return 100;
                  }
                  return worked ? 0 : 101;
              }),
              0);
}

TEST(ChildProcess, saysWhyNotWhereNoProcessCanBeStarted) {
    EXPECT_EQ(inChildAsOrdinaryUser([] {
                  const rlimit none{0, 0};
                  ::setrlimit(RLIMIT_NPROC, &none);
                  return !shell("exit 0") && errno == EAGAIN ? 0 : 1;
              }),
              0);
}

} // namespace
} // namespace lumivert
