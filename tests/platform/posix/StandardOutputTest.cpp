#include "platform/posix/PosixFunctions.h"
#include "support/InChild.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace lumivert {
namespace {

TEST(StandardOutput, writesLinesAtOnceAndBehindWhatWasPrintedBefore) {
    const TemporaryFolder folder;
    const auto file = folder / "output";
    EXPECT_EQ(inChild([&] {
                  const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT, 0644);
                  if (::dup2(fd, 1) != 1)
                      return 1;
                  std::printf("before ");
                  writeLine("Lumivert CUPS command: lp \"/tmp/x.pdf\"");
                  return folder.read("output") == "before Lumivert CUPS command: lp "
                                                  "\"/tmp/x.pdf\"\n"
                             ? 0
                             : 2;
              }),
              0);
}

TEST(StandardOutput, losesALineThatNobodyReads) {
    EXPECT_EQ(inChild([] {
                  ::signal(SIGPIPE, SIG_IGN);
                  int ends[2];
                  if (::pipe(ends) != 0 || ::dup2(ends[1], 1) != 1)
                      return 1;
                  ::close(ends[0]);
                  writeLine("into the void");
                  ::close(1);
                  writeLine("and again");
                  return 0;
              }),
              0);
}

TEST(StandardOutput, writesALongLineWhole) {
    const TemporaryFolder folder;
    const auto file = folder / "output";
    const std::string line(300'000, 'x');
    EXPECT_EQ(inChild([&] {
                  if (::dup2(::open(file.c_str(), O_WRONLY | O_CREAT, 0644), 1) != 1)
                      return 1;
                  writeLine(line);
                  return 0;
              }),
              0);
    EXPECT_EQ(folder.read("output"), line + '\n');
}

} // namespace
} // namespace lumivert
