#include "platform/posix/PosixFunctions.h"
#include "support/InChild.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lumivert {
namespace {

using testing::EndsWith;
using namespace std::string_literals;

ProcessResult run(const std::string& executable, const std::vector<std::string>& arguments) {
    return runProcess(executable, arguments);
}

/// Runs a line of the Z shell that must start.
ProcessOutcome shell(const std::string& command) {
    return std::get<ProcessOutcome>(run("/bin/zsh", {"-c", command}));
}

std::string failureOf(const ProcessResult& result) {
    const auto* failure = std::get_if<LaunchFailure>(&result);
    return failure ? failure->description : "it was started";
}

/// A tool that is waited for without end fails the program instead of holding it up.
class PosixProcessRunnerTest : public testing::Test {
protected:
    PosixProcessRunnerTest() { ::alarm(60); }
    ~PosixProcessRunnerTest() override { ::alarm(0); }
};

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST_F(PosixProcessRunnerTest, givesTheOutputWithItsLastLineBreak) {
    const auto outcome = shell("print -r -- 'printer Photo_A3 is idle.'");
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.output, "printer Photo_A3 is idle.\n");
}

TEST_F(PosixProcessRunnerTest, givesNothingForASilentCommand) {
    EXPECT_EQ(shell(":").output, "");
}

TEST_F(PosixProcessRunnerTest, joinsStandardErrorInTheOrderOfWriting) {
    EXPECT_EQ(shell("print one; print -u2 two; print three; print -u2 four").output,
              "one\ntwo\nthree\nfour\n");
}

TEST_F(PosixProcessRunnerTest, keepsBytesThatAreNoText) {
    EXPECT_EQ(shell("printf 'a\\0b\\377\\n'").output, std::string("a\0b\377\n", 5));
}

TEST_F(PosixProcessRunnerTest, waitsForTheEndBeforeItReads) {
    // More than the pipe holds: the writer waits for a reader, the reader for the writer's end.
    EXPECT_EQ(inChild([] {
                  ::alarm(2);
                  (void)shell("head -c 3000000 /dev/zero");
                  return 0;
              }),
              128 + SIGALRM);
}

TEST_F(PosixProcessRunnerTest, doesNotStallOnMoreOutputThanAnOrdinaryPipeHolds) {
    const auto outcome = shell("head -c 900000 /dev/zero; exit 3");
    EXPECT_EQ(outcome.output.size(), 900000u);
    EXPECT_EQ(outcome.exitStatus, 3);
}

// The system gives an ordinary user so many pages of pipes (pipe(7)), then pipes of 8 KiB or 4 KiB.
TEST_F(PosixProcessRunnerTest, doesNotStallWhereNoLargePipeIsToBeHad) {
    EXPECT_EQ(inChildAsOrdinaryUser([] {
                  ::alarm(20);
                  std::array<int, 2> ends{};
                  bool refused = false;
                  for (int i = 0; i < 400 && !refused; ++i)
                      refused =
                          ::pipe(ends.data()) != 0 || ::fcntl(ends[0], F_SETPIPE_SZ, 1 << 20) < 0;
                  if (!refused || errno != EPERM)
                      return 1;
                  const auto outcome = shell("head -c 300000 /dev/zero; print -u2 end; exit 3");
                  return outcome.output.size() == 300004 && outcome.output.ends_with("\0end\n"s) &&
                                 outcome.exitStatus == 3
                             ? 0
                             : 2;
              }),
              0);
}

TEST_F(PosixProcessRunnerTest, readsWhatAProcessLeftBehindStillWrites) {
    EXPECT_EQ(shell("(sleep 0.2; print late) & print early").output, "early\nlate\n");
}

TEST_F(PosixProcessRunnerTest, givesTheExitStatus) {
    EXPECT_EQ(shell("exit 1").exitStatus, 1);
    EXPECT_EQ(shell("exit 255").exitStatus, 255);
}

TEST_F(PosixProcessRunnerTest, givesASignalAs128AndItsNumber) {
    EXPECT_EQ(shell("kill -KILL $$").exitStatus, 128 + SIGKILL);
    EXPECT_EQ(shell("kill -TERM $$").exitStatus, 128 + SIGTERM);
}

TEST_F(PosixProcessRunnerTest, passesArgumentsWholeAndInOrder) {
    const auto result = run("/usr/bin/printf", {"<%s>", "a b", "", "\"$HOME\"", "*"});
    EXPECT_EQ(std::get<ProcessOutcome>(result).output, "<a b><><\"$HOME\"><*>");
}

TEST_F(PosixProcessRunnerTest, inheritsEnvironmentFolderAndStandardInput) {
    const ScopedEnvironment variable("LUMIVERT_PROBE", "from the parent");
    const TemporaryFolder folder;
    const auto input = folder.write("input", "a line\n");
    EXPECT_EQ(inChild([&] {
                  ::close(0);
                  if (::open(input.c_str(), O_RDONLY) != 0 || ::chdir(folder.path().c_str()) != 0)
                      return 1;
                  const auto output = shell("print $LUMIVERT_PROBE; pwd; cat").output;
                  return output == "from the parent\n" + folder.path() + "\na line\n" ? 0 : 2;
              }),
              0);
}

TEST_F(PosixProcessRunnerTest, saysWhyAMissingExecutableDidNotStart) {
    EXPECT_EQ(failureOf(run("/nonexistent/zsh", {"-c", "true"})),
              "/nonexistent/zsh: No such file or directory");
}

TEST_F(PosixProcessRunnerTest, saysWhyAFileThatIsNotExecutableDidNotStart) {
    const TemporaryFolder folder;
    const auto file = folder.write("plain file", "text");
    EXPECT_EQ(failureOf(run(file, {})), file + ": Permission denied");
    EXPECT_EQ(failureOf(run(folder.path(), {})), folder.path() + ": Permission denied");
}

TEST_F(PosixProcessRunnerTest, doesNotLookExecutablesUp) {
    EXPECT_THAT(failureOf(run("zsh", {"-c", "true"})), EndsWith(": No such file or directory"));
}

TEST_F(PosixProcessRunnerTest, refusesTextsThatTheSystemWouldCut) {
    const auto command = std::string("print a\0; print b", 17);
    EXPECT_EQ(failureOf(run("/bin/zsh", {"-c", command})), "/bin/zsh: Invalid argument");
    EXPECT_EQ(failureOf(run(std::string("/bin/zsh\0x", 10), {})), "/bin/zsh: Invalid argument");
}

TEST_F(PosixProcessRunnerTest, saysSoWhenDescriptorsRunOut) {
    EXPECT_EQ(inChild([] {
                  while (::dup(0) >= 0) {
                  }
                  return failureOf(run("/bin/true", {})) == "/bin/true: Too many open files" ? 0
                                                                                             : 1;
              }),
              0);
}

TEST_F(PosixProcessRunnerTest, leavesNoDescriptorAndNoZombie) {
    const auto before = openDescriptors();
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(std::get<ProcessOutcome>(run("/bin/true", {})).exitStatus, 0);
    (void)run("/nonexistent/zsh", {});
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(PosixProcessRunnerTest, givesTheChildNoDescriptorBeyondStandardError) {
    const int leak = ::fcntl(0, F_DUPFD, 77);
    ASSERT_GE(leak, 77);
    EXPECT_EQ(::fcntl(leak, F_GETFD) & FD_CLOEXEC, 0);
    const auto result = run("/bin/ls", {"/proc/self/fd"});
    ::close(leak);
    // 3 is the folder that is being listed.
    EXPECT_EQ(std::get<ProcessOutcome>(result).output, "0\n1\n2\n3\n");
}

TEST_F(PosixProcessRunnerTest, givesTheChildDefaultSignalsAndAnEmptyMask) {
    EXPECT_EQ(inChild([] {
                  ::signal(SIGPIPE, SIG_IGN);
                  ::signal(SIGUSR1, SIG_IGN);
                  sigset_t mask;
                  sigemptyset(&mask);
                  sigaddset(&mask, SIGTERM);
                  ::sigprocmask(SIG_BLOCK, &mask, nullptr);
                  // Signals 32 and 33 are the C library's own, which keeps them ignored.
                  const auto result =
                      run("/bin/grep", {"-cE", "Sig(Ign|Blk):[[:space:]]0{7}[01][08]0{7}$",
                                        "/proc/self/status"});
                  return std::get<ProcessOutcome>(result).output == "2\n" ? 0 : 1;
              }),
              0);
}

TEST_F(PosixProcessRunnerTest, learnsTheExitStatusAlthoughChildrenAreIgnored) {
    EXPECT_EQ(inChild([] {
                  ::signal(SIGCHLD, SIG_IGN);
                  return shell("exit 3").exitStatus == 3 ? 0 : 1;
              }),
              0);
}

TEST_F(PosixProcessRunnerTest, goesOnAfterInterruptions) {
    EXPECT_EQ(inChild([] {
                  struct sigaction action = {};
                  action.sa_handler = [](int) {};
                  ::sigaction(SIGALRM, &action, nullptr); // without SA_RESTART
                  const itimerval often = {{0, 2000}, {0, 2000}};
                  ::setitimer(ITIMER_REAL, &often, nullptr);
                  const auto outcome = shell("(sleep 0.2; print late) & sleep 0.1; exit 4");
                  return outcome.exitStatus == 4 && outcome.output == "late\n" ? 0 : 1;
              }),
              0);
}

TEST_F(PosixProcessRunnerTest, worksWithClosedStandardStreams) {
    for (const int kept : {-1, 0, 1, 2}) {
        EXPECT_EQ(inChild([&] {
                      for (int fd = 0; fd < 3; ++fd)
                          if (fd != kept)
                              ::close(fd);
                      const auto outcome = shell("print one; print -u2 two");
                      return outcome.output == "one\ntwo\n" ? 0 : 1;
                  }),
                  0)
            << "only descriptor " << kept << " open";
    }
}

} // namespace
} // namespace lumivert
