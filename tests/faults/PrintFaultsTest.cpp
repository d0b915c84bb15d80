#include "faults/PrintWorld.h"
#include "journey/TestPhoto.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <sys/resource.h>

namespace lumivert {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Matcher;
using testing::SizeIs;
using testing::StartsWith;

constexpr auto noPage = "Could not create PDF context";

/// One thing that goes wrong between the choice of everything and the print, and what comes of it.
struct Fault {
    enum class Outcome {
        printed,    ///< the page arrives; its file goes
        accepted,   ///< the print system takes the page and keeps it; its file goes
        notMade,    ///< there is no page
        notAccepted ///< the page's file stays
    };

    const char* name;
    std::function<void(PrintWorld&)> strike;
    Outcome outcome = Outcome::printed;
    Matcher<std::string> message = "";
    /// Makes it good; the next print has to succeed.
    std::function<void(PrintWorld&)> mend = {};
};

using Outcome = Fault::Outcome;

void PrintTo(const Fault& fault, std::ostream* out) {
    *out << fault.name;
}

const std::vector<Fault> faults{
    {"nothing", [](PrintWorld&) {}},

    // The temporary folder.
    {"theTemporaryFolderIsMissing", [](PrintWorld& w) { fs::remove(w.temporary); },
     Outcome::notMade, noPage, [](PrintWorld& w) { fs::create_directory(w.temporary); }},
    {"theTemporaryFolderIsAFile",
     [](PrintWorld& w) {
         fs::remove(w.temporary);
         w.folder.write("tmp");
     },
     Outcome::notMade, noPage,
     [](PrintWorld& w) {
         fs::remove(w.temporary);
         fs::create_directory(w.temporary);
     }},
    {"theTemporaryFolderTakesNoFile", // not even root's
     [](PrintWorld& w) {
         fs::remove(w.temporary);
         fs::create_symlink("/proc", w.temporary);
     },
     Outcome::notMade, noPage,
     [](PrintWorld& w) {
         fs::remove(w.temporary);
         fs::create_directory(w.temporary);
     }},

    // The shell.
    {"theShellIsMissing", [](PrintWorld& w) { w.shell = w.tools + "/zsh"; }, Outcome::notAccepted,
     AllOf(StartsWith("Could not send to printer: "), SizeIs(testing::Gt(27))),
     [](PrintWorld& w) { w.shell = "/bin/zsh"; }},
    {"theShellCannotBeExecuted",
     [](PrintWorld& w) { w.shell = w.folder.write("tools/zsh", "#!/bin/sh\n"); },
     Outcome::notAccepted, StartsWith("Could not send to printer: "),
     [](PrintWorld& w) { w.shell = "/bin/zsh"; }},
    {"theShellIsKilled",
     [](PrintWorld& w) {
         w.replaceTool("zsh", "echo half; kill -9 $$");
         w.shell = w.tools + "/zsh";
     },
     Outcome::notAccepted, "Print failed: half\n", [](PrintWorld& w) { w.shell = "/bin/zsh"; }},

    // lp.
    {"lpIsMissing",
     [](PrintWorld& w) {
         w.replaceTool("zsh", "PATH=/nowhere exec /bin/zsh \"$@\"");
         w.shell = w.tools + "/zsh";
     },
     Outcome::notAccepted, AllOf(StartsWith("Print failed: "), HasSubstr("not found")),
     [](PrintWorld& w) { w.shell = "/bin/zsh"; }},
    {"lpIsSlow", [](PrintWorld& w) { w.replaceTool("lp", "sleep 2; exec /usr/bin/lp \"$@\""); }},
    {"lpFailsWithMuchText",
     [](PrintWorld& w) { w.replaceTool("lp", "printf '%05000d' 7; exit 1"); }, Outcome::notAccepted,
     "Print failed: " + std::string(4999, '0') + "7",
     [](PrintWorld& w) { fs::remove(w.tools + "/lp"); }},
    {"lpFailsWithTextThatIsNotUtf8",
     [](PrintWorld& w) { w.replaceTool("lp", "printf 'lp: \\351\\n'; exit 1"); },
     Outcome::notAccepted, "Print failed: ", [](PrintWorld& w) { fs::remove(w.tools + "/lp"); }},
    {"lpIsKilled", [](PrintWorld& w) { w.replaceTool("lp", "kill -9 $$"); }, Outcome::notAccepted,
     StartsWith("Print failed: "), [](PrintWorld& w) { fs::remove(w.tools + "/lp"); }},

    // The queue.
    {"theQueueIsDeleted", [](PrintWorld& w) { w.scheduler.removeQueue(PrintWorld::queue); },
     Outcome::notAccepted, AllOf(StartsWith("Print failed: lp: "), HasSubstr("does not exist")),
     [](PrintWorld& w) { w.scheduler.addQueue(PrintWorld::queue); }},
    {"theQueueHasAnotherName",
     [](PrintWorld& w) {
         w.scheduler.removeQueue(PrintWorld::queue);
         w.scheduler.addQueue("Renamed");
     },
     Outcome::notAccepted, AllOf(StartsWith("Print failed: lp: "), HasSubstr("does not exist")),
     [](PrintWorld& w) {
         w.scheduler.removeQueue("Renamed");
         w.scheduler.addQueue(PrintWorld::queue);
     }},
    {"theQueueIsPaused", [](PrintWorld& w) { w.run("/usr/sbin/cupsdisable", {PrintWorld::queue}); },
     Outcome::accepted, "",
     [](PrintWorld& w) {
         w.run("/usr/bin/cancel", {"-a", PrintWorld::queue});
         w.run("/usr/sbin/cupsenable", {PrintWorld::queue});
     }},
    {"theQueueRejects", [](PrintWorld& w) { w.run("/usr/sbin/cupsreject", {PrintWorld::queue}); },
     Outcome::notAccepted, AllOf(StartsWith("Print failed: lp: "), HasSubstr("not accepting")),
     [](PrintWorld& w) { w.run("/usr/sbin/cupsaccept", {PrintWorld::queue}); }},

    // The queue's PPD, read anew when somebody refreshes.
    {"thePpdIsMissing",
     [](PrintWorld& w) {
         fs::remove(w.ppd);
         w.manager().detectPrinters();
     }},
    {"thePpdIsBinary",
     [](PrintWorld& w) {
         w.folder.write("ppd/Photo_A3.ppd", std::string("\0\xff*PaperDimension A4: \"1 1\"", 27));
         w.manager().detectPrinters();
     }},
    {"thePpdIsHuge",
     [](PrintWorld& w) {
         std::string ppd = w.folder.read("ppd/Photo_A3.ppd");
         while (ppd.size() < 20U << 20U)
             ppd += "*UIConstraints: *PageSize A4.Fullbleed *MediaType Plain\n";
         w.folder.write("ppd/Photo_A3.ppd", ppd);
         const auto start = std::chrono::steady_clock::now();
         w.manager().detectPrinters();
         EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
     }},
    {"thePpdHasLinesOfAnotherSystem",
     [](PrintWorld& w) {
         w.folder.write("ppd/Photo_A3.ppd", "*PaperDimension A4: \"595 842\"\r\n"
                                            "*MediaType Glossy/Shiny: \"\"\r\n");
         w.manager().detectPrinters();
         EXPECT_EQ(w.manager().selectedPaperSizeID.get(), "A4");
     }},
    {"thePpdChangesWhileAllRuns",
     [](PrintWorld& w) { w.folder.write("ppd/Photo_A3.ppd", "*PaperDimension A4: \"1 2\"\n"); }},

    // The photo, loaded before.
    {"thePhotoIsReplaced",
     [](PrintWorld& w) {
         writeTestPhoto(w.photo, {90, 900}, 30);
     }},
    {"thePhotoIsCut", [](PrintWorld& w) { fs::resize_file(w.photo, 100); }},
    {"thePhotoIsDeleted", [](PrintWorld& w) { fs::remove(w.photo); }},
    {"thePhotosMediumIsGone", [](PrintWorld& w) { fs::remove_all(w.folder / "photos"); }},
};

class PrintFaultsTest : public testing::TestWithParam<Fault> {
protected:
    static PrivateScheduler& scheduler() {
        static PrivateScheduler one;
        return one;
    }
    static SchedulerEnvironment& environment() {
        static SchedulerEnvironment one(scheduler());
        return one;
    }
    /// What a page of these settings looks like on a day without faults.
    static const std::string& usualPage() {
        static const std::string page = [] {
            PrintWorld world(scheduler());
            EXPECT_EQ(world.print(), "");
            return world.arrived().value_or("");
        }();
        return page;
    }

    void SetUp() override {
        (void)environment();
        ASSERT_FALSE(usualPage().empty());
    }
};

TEST_P(PrintFaultsTest, isTold) {
    const Fault& fault = GetParam();
    PrintWorld world(scheduler());
    fault.strike(world);
    EXPECT_THAT(world.print(), fault.message);

    const bool taken = fault.outcome == Outcome::printed || fault.outcome == Outcome::accepted;
    EXPECT_EQ(world.pages(), fault.outcome == Outcome::notMade ? 0U : 1U);
    if (fault.outcome == Outcome::printed) {
        EXPECT_TRUE(world.arrived() == usualPage()) << "another page arrived, or none";
    }

    if (fault.mend) {
        fault.mend(world);
        EXPECT_EQ(world.print(), "");
        EXPECT_TRUE(world.arrived() == usualPage()) << "another page arrived, or none";
    }
    world.quit();
    EXPECT_EQ(world.pages(), taken || fault.outcome == Outcome::notMade ? 0U : 1U)
        << "only a page that was not accepted stays";
}

INSTANTIATE_TEST_SUITE_P(EachFault, PrintFaultsTest, testing::ValuesIn(faults),
                         [](const auto& row) { return std::string(row.param.name); });

// A profile that cannot be used when the page is made counts as none.
TEST_F(PrintFaultsTest, aProfileThatWentBadIsLeftOut) {
    std::optional<std::string> plain;
    {
        PrintWorld managed(scheduler());
        managed.manager().selectedICCProfileID = "printer_managed";
        ASSERT_EQ(managed.print(), "");
        plain = managed.arrived();
    }
    ASSERT_TRUE(plain);
    ASSERT_NE(*plain, usualPage()) << "else this test shows nothing";

    const std::vector<std::pair<const char*, std::function<void(PrintWorld&)>>> ways{
        {"deleted", [](PrintWorld& w) { fs::remove(w.profile); }},
        {"cut", [](PrintWorld& w) { fs::resize_file(w.profile, 200); }},
        {"a text", [](PrintWorld& w) { w.folder.write("data/icc/paper.icc", "no profile"); }},
        {"a folder",
         [](PrintWorld& w) {
             fs::remove(w.profile);
             fs::create_directory(w.profile);
         }},
    };
    for (const auto& [name, strike] : ways) {
        SCOPED_TRACE(name);
        PrintWorld world(scheduler());
        strike(world);
        EXPECT_EQ(world.print(), "");
        EXPECT_TRUE(world.arrived() == plain) << "not the page without a profile";
    }
}

// RLIMIT_FSIZE stands for a full disk: the write that crosses it fails.
TEST_F(PrintFaultsTest, aDiskThatIsFullAtAnyWriteGivesNoPage) {
    const auto size = static_cast<rlim_t>(usualPage().size());
    rlimit usual{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &usual), 0);
    PrintWorld world(scheduler());
    int refused = 0;
    for (rlim_t room = 0; room < size; room += std::max<rlim_t>(size / 40, 1)) {
        const rlimit limit{room, usual.rlim_max};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        const std::string message = world.print();
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &usual), 0);
        EXPECT_EQ(message, noPage) << room << " of " << size << " bytes";
        EXPECT_EQ(world.pages(), 0U);
        ++refused;
    }
    EXPECT_GE(refused, 40);
    EXPECT_EQ(world.print(), "") << "with room again";
}

TEST(SchedulerFaultsTest, aSchedulerThatStoppedAfterDiscoveryIsTold) {
    PrivateScheduler scheduler;
    const SchedulerEnvironment environment(scheduler);
    auto world = std::make_unique<PrintWorld>(scheduler);
    ASSERT_EQ(::kill(scheduler.pid(), SIGKILL), 0);
    EXPECT_THAT(world->print(), StartsWith("Print failed: lp: "));
    EXPECT_EQ(world->pages(), 1U);
    world->manager().detectPrinters();
    EXPECT_TRUE(world->manager().availablePrinters->empty());
    EXPECT_EQ(world->print(), "No printer selected");
}

} // namespace
} // namespace lumivert
