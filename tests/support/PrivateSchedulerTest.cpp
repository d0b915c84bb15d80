#include "support/PrivateScheduler.h"

#include "platform/posix/PosixFileSystem.h"
#include "platform/posix/PosixFunctions.h"
#include "support/InChild.h"
#include "support/RedirectedFileSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <thread>

namespace lumivert {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

ProcessOutcome shell(const std::string& command) {
    return std::get<ProcessOutcome>(runProcess("/bin/zsh", {"-c", command}));
}

/// A PDF of one empty page.
std::string emptyPage(const std::string& mediaBox) {
    std::string pdf = "%PDF-1.4\n";
    std::string table = "xref\n0 4\n0000000000 65535 f \n";
    for (const std::string& object :
         {std::string("1 0 obj\n<</Type/Catalog/Pages 2 0 R>>\nendobj\n"),
          std::string("2 0 obj\n<</Type/Pages/Kids[3 0 R]/Count 1>>\nendobj\n"),
          "3 0 obj\n<</Type/Page/Parent 2 0 R/MediaBox[" + mediaBox + "]>>\nendobj\n"}) {
        const std::string at = std::to_string(pdf.size());
        table += std::string(10 - at.size(), '0') + at + " 00000 n \n";
        pdf += object;
    }
    const std::string at = std::to_string(pdf.size());
    return pdf + table + "trailer\n<</Size 4/Root 1 0 R>>\nstartxref\n" + at + "\n%%EOF\n";
}

bool runs(pid_t process) {
    return ::kill(process, 0) == 0;
}

TEST(PrivateScheduler, runsBesideTheSystemsAndLeavesNothing) {
    std::string folder;
    pid_t process = 0;
    {
        const PrivateScheduler one;
        const PrivateScheduler two;
        folder = one.folder();
        process = one.pid();
        EXPECT_TRUE(runs(one.pid()));
        EXPECT_TRUE(runs(two.pid()));
        EXPECT_NE(one.folder(), two.folder());
    }
    EXPECT_FALSE(runs(process));
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

TEST(PrivateScheduler, endsWithTheTestThatCrashes) {
    const TemporaryFolder notes;
    EXPECT_EQ(inChild([&] {
                  const PrivateScheduler scheduler;
                  notes.write("folder", scheduler.folder());
                  notes.write("pid", std::to_string(scheduler.pid()));
                  return ::raise(SIGKILL);
              }),
              128 + SIGKILL);
    const auto folder = notes.read("folder");
    ASSERT_FALSE(folder.empty());
    for (int i = 0; i < 1000 && fs::exists(folder); ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_FALSE(runs(std::atoi(notes.read("pid").c_str())));
}

TEST(PrivateScheduler, listsItsQueuesAndNoOther) {
    PrivateScheduler scheduler;
    const SchedulerEnvironment environment(scheduler);
    EXPECT_THAT(shell("lpstat -p 2>/dev/null").output, Not(HasSubstr("Photo")));
    scheduler.addQueue("Photo_A3");
    scheduler.addQueue("Studio_B");
    const auto listing = shell("lpstat -p 2>/dev/null").output;
    EXPECT_THAT(listing, HasSubstr(" Photo_A3 "));
    EXPECT_THAT(listing, HasSubstr(" Studio_B "));
    EXPECT_EQ(std::count(listing.begin(), listing.end(), '\n'), 2) << listing;
    scheduler.removeQueue("Photo_A3");
    EXPECT_THAT(shell("lpstat -p 2>/dev/null").output, Not(HasSubstr("Photo_A3")));
}

TEST(PrivateScheduler, listsAQueuesOptionsAndKeepsItsPpd) {
    PrivateScheduler scheduler;
    scheduler.addQueue("Photo_A3");
    scheduler.setOption("Photo_A3", "PageSize", "A3");
    scheduler.setDefaultQueue("Photo_A3");
    const SchedulerEnvironment environment(scheduler);
    const auto options = shell("lpoptions -p Photo_A3 -l 2>/dev/null").output;
    EXPECT_THAT(options, HasSubstr(": Letter A4 A4.Fullbleed *A3 4x6 4x6.Fullbleed\n"));
    EXPECT_THAT(options, HasSubstr("MediaType/Media Type: *Glossy Plain\n"));
    EXPECT_THAT(shell("lpstat -d 2>/dev/null").output, HasSubstr(": Photo_A3\n"));

    PosixFileSystem real;
    RedirectedFileSystem files(real, "/etc/cups/ppd/", scheduler.ppdFolder());
    const auto ppd = files.readFile("/etc/cups/ppd/Photo_A3.ppd");
    ASSERT_TRUE(ppd);
    EXPECT_THAT(*ppd, HasSubstr("*PaperDimension A4.Fullbleed: \"595.276 841.89\"\n"));
    EXPECT_THAT(*ppd, HasSubstr("*PaperDimension 4x6/4x6 Photo: \"288 432\"\n"));
}

TEST(PrivateScheduler, printsIntoAFile) {
    PrivateScheduler scheduler;
    scheduler.addQueue("Photo_A3");
    const SchedulerEnvironment environment(scheduler);
    const TemporaryFolder work;
    const auto pdf = work.write("page.pdf", emptyPage("0 0 595.276 841.89"));
    const auto print = "lp -d Photo_A3 -o PageSize=A4 -o MediaType=Glossy "
                       "-o cupsPrintQuality=High \"" +
                       pdf + '"';
    for (int i = 0; i < 2; ++i) {
        const auto lp = shell(print);
        ASSERT_EQ(lp.exitStatus, 0) << lp.output;
        const auto printed = scheduler.takeOutput("Photo_A3");
        ASSERT_TRUE(printed) << scheduler.log();
        EXPECT_TRUE(printed->starts_with("%PDF-"));
        work.write("printed.pdf", *printed);
        EXPECT_THAT(shell("pdfinfo -f 1 -l 1 -box " + work / "printed.pdf").output,
                    testing::ContainsRegex("MediaBox: +0\\.00 +0\\.00 +595\\.28 +841\\.89\n"));
    }
    EXPECT_EQ(scheduler.takeOutput("Photo_A3"), std::nullopt) << "nothing was printed since";
}

TEST(PrivateScheduler, givesUpWaitingAtTheDeadline) {
    PrivateScheduler scheduler;
    scheduler.addQueue("Photo_A3");
    const SchedulerEnvironment environment(scheduler);
    const TemporaryFolder work;
    const auto pdf = work.write("page.pdf", emptyPage("0 0 595 842"));
    ASSERT_EQ(shell("lp -H hold -d Photo_A3 " + pdf).exitStatus, 0);
    EXPECT_EQ(scheduler.takeOutput("Photo_A3", 200ms), std::nullopt);
}

TEST(PrivateScheduler, tellsWhyALostQueueDoesNotPrint) {
    PrivateScheduler scheduler;
    scheduler.addQueue("Photo_A3");
    scheduler.removeQueue("Photo_A3");
    const SchedulerEnvironment environment(scheduler);
    const TemporaryFolder work;
    const auto lp = shell("lp -d Photo_A3 " + work.write("page.pdf", emptyPage("0 0 595 842")));
    EXPECT_NE(lp.exitStatus, 0);
    EXPECT_THAT(lp.output, testing::StartsWith("lp: "));
    EXPECT_THROW(scheduler.removeQueue("Photo_A3"), std::runtime_error);
    EXPECT_THROW(scheduler.addQueue("Other", "/nonexistent.ppd"), std::runtime_error);
}

TEST(PrivateScheduler, worksForAnOrdinaryUser) {
    const TemporaryFolder work;
    // The source tree need not be open to every user.
    const auto ppd = work / "photo.ppd";
    fs::copy_file(PrivateScheduler::photoPpd(), ppd);
    fs::permissions(ppd, fs::perms(0644));
    const auto pdf = work.write("page.pdf", emptyPage("0 0 595 842"));
    EXPECT_EQ(inChildAsOrdinaryUser([&] {
                  try {
                      PrivateScheduler scheduler;
                      scheduler.addQueue("Photo_A3", ppd);
                      const SchedulerEnvironment environment(scheduler);
                      if (shell("lp -d Photo_A3 " + pdf).exitStatus != 0)
                          return 1;
                      const auto printed = scheduler.takeOutput("Photo_A3");
                      return printed && printed->starts_with("%PDF-") ? 0 : 2;
                  } catch (const std::exception& failure) {
                      std::fprintf(stderr, "%s\n", failure.what());
                      return 3;
                  }
              }),
              0);
}

TEST(SchedulerEnvironment, goesWithItsScope) {
    const PrivateScheduler scheduler;
    const ScopedEnvironment outer("CUPS_SERVER", "outer");
    const ScopedEnvironment destination("PRINTER", "mine");
    {
        const SchedulerEnvironment environment(scheduler);
        EXPECT_EQ(std::getenv("CUPS_SERVER"), scheduler.folder() + "/socket");
        EXPECT_EQ(std::getenv("PRINTER"), nullptr);
    }
    EXPECT_STREQ(std::getenv("CUPS_SERVER"), "outer");
    EXPECT_STREQ(std::getenv("PRINTER"), "mine");
}

} // namespace
} // namespace lumivert
