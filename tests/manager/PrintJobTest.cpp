#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "manager/Properties.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace lumivert {
namespace {

using namespace std::chrono_literals;
using Strings = std::vector<std::string>;

const std::string firstPath = "/tmp/ada/Lumivert_00000000-0000-0000-0000-000000000001.pdf";

// The one place where these tests write the command down.
struct Command {
    std::string printer = "Photo_Printer";
    std::string pageSize = "A4";
    std::string mediaType = "auto";
    std::string path = firstPath;

    operator std::string() const {
        return "lp -d " + printer + " -o PageSize=" + pageSize + " -o MediaType=" + mediaType +
               " -o cupsPrintQuality=High \"" + path + "\"";
    }
};
const std::string plainCommand = Command();

class PrintJob : public testing::Test {
protected:
    PrintJob() {
        world.addQueue("Photo_Printer",
                       "PageSize/Media Size: *A4 A4.Fullbleed Letter\nMediaType/M: auto Glossy\n");
        manager.emplace(world.platform);
        manager->image = photo;
        world.dispatcher.runMain();
        world.processes.commands.clear();
    }

    PrintManager& m() { return *manager; }
    ProcessOutcome& lp() { return world.processes.outcomes["lp -d"]; }

    fakes::FakePlatform world;
    std::shared_ptr<fakes::FakeImage> photo =
        std::make_shared<fakes::FakeImage>(PixelSize{3000, 2000}, SizePoints{300, 200});
    std::optional<PrintManager> manager;
};

TEST_F(PrintJob, withoutAPhotoDoesNothingEvenWithoutAPrinter) {
    m().image = nullptr;
    for (const char* printer : {"Photo_Printer", "gone", ""}) {
        m().selectedPrinterID = printer;
        for (const bool dryRun : {false, true}) {
            const AssignmentLog log(m());
            m().sendToCUPS(dryRun);
            EXPECT_EQ(log.notifications, 0);
        }
    }
    EXPECT_TRUE(world.pdf.pages.empty());
    EXPECT_TRUE(world.processes.commands.empty());
    EXPECT_TRUE(world.lines.empty());
}

TEST_F(PrintJob, withoutAPrinterSaysSo) {
    for (const bool dryRun : {false, true}) {
        m().selectedPrinterID = "gone";
        m().lastPrintError = std::nullopt;
        const AssignmentLog log(m());
        m().sendToCUPS(dryRun);
        EXPECT_EQ(m().lastPrintError.get(), "No printer selected");
        EXPECT_EQ(log.names, Strings{"lastPrintError"});
    }
    EXPECT_TRUE(world.pdf.pages.empty());
    EXPECT_TRUE(world.processes.commands.empty());
    EXPECT_TRUE(world.lines.empty());
    EXPECT_TRUE(world.opened.empty());
}

TEST_F(PrintJob, sendsTheExactCommandAndCleansUpTenSecondsLater) {
    m().sendToCUPS(false);
    ASSERT_EQ(world.pdf.pages.size(), 1U);
    EXPECT_EQ(world.pdf.pages[0]->path, firstPath);
    EXPECT_EQ(world.processes.commands, Strings{plainCommand});
    EXPECT_EQ(world.lines, Strings{"Lumivert CUPS command: " + plainCommand});
    EXPECT_EQ(m().lastCUPSCommand.get(), plainCommand);
    EXPECT_EQ(m().lastPrintError.get(), std::nullopt);
    EXPECT_TRUE(world.opened.empty());

    ASSERT_EQ(world.dispatcher.inBackground.size(), 1U);
    EXPECT_EQ(world.dispatcher.inBackground[0].first, 10s);
    EXPECT_TRUE(world.files.removed.empty());
    world.dispatcher.inBackground[0].second();
    EXPECT_EQ(world.files.removed, Strings{firstPath});
    EXPECT_TRUE(world.dispatcher.onMain.empty());
}

TEST_F(PrintJob, removesItsFileAlsoWhenTheManagerIsGone) {
    m().sendToCUPS(false);
    manager.reset();
    world.dispatcher.inBackground.at(0).second();
    EXPECT_EQ(world.files.removed, Strings{firstPath});
}

TEST_F(PrintJob, ignoresAFileThatCannotBeRemoved) {
    world.files.removes = false;
    m().sendToCUPS(false);
    const AssignmentLog log(m());
    world.dispatcher.inBackground.at(0).second();
    EXPECT_EQ(log.notifications, 0);
    EXPECT_EQ(m().lastPrintError.get(), std::nullopt);
    EXPECT_EQ(world.dispatcher.inBackground.size(), 1U) << "it is not tried again";
}

TEST_F(PrintJob, goesInOrderPageLogCommandPropertyProcessResult) {
    lp() = {1, "no"};
    std::size_t steps = 0;
    const auto atCommand = m().lastCUPSCommand.subscribe([&] {
        EXPECT_EQ(steps++, 0U);
        EXPECT_EQ(world.pdf.pages.size(), 1U);
        EXPECT_EQ(world.lines.size(), 1U);
        EXPECT_TRUE(world.processes.commands.empty());
    });
    world.processes.willRun = [&](const std::string&) {
        EXPECT_EQ(steps++, 1U);
        EXPECT_EQ(m().lastCUPSCommand.get(), plainCommand);
    };
    const auto atError = m().lastPrintError.subscribe([&] { EXPECT_EQ(steps++, 2U); });
    m().sendToCUPS(false);
    EXPECT_EQ(steps, 3U);
}

TEST_F(PrintJob, writesNothingButItsTwoResults) {
    const AssignmentLog log(m());
    m().sendToCUPS(false);
    EXPECT_EQ(log.names, (Strings{"lastCUPSCommand", "lastPrintError"}));
    EXPECT_EQ(log.notifications, 2);
    EXPECT_EQ(world.preferences.writes, 0);
}

TEST_F(PrintJob, clearsAnEarlierErrorWhenItSucceedsAndNoSooner) {
    m().lastPrintError = "an earlier one";
    world.processes.willRun = [&](const std::string&) {
        EXPECT_EQ(m().lastPrintError.get(), "an earlier one");
    };
    m().sendToCUPS(false);
    EXPECT_EQ(m().lastPrintError.get(), std::nullopt);
}

TEST_F(PrintJob, asADryRunOpensThePageAndRunsNothing) {
    const AssignmentLog log(m());
    m().sendToCUPS(true);
    EXPECT_EQ(world.opened, Strings{firstPath});
    EXPECT_EQ(m().lastCUPSCommand.get(), plainCommand);
    EXPECT_EQ(world.lines, Strings{"Lumivert CUPS command: " + plainCommand});
    EXPECT_EQ(log.names, Strings{"lastCUPSCommand"});
    EXPECT_TRUE(world.processes.commands.empty());
    EXPECT_TRUE(world.dispatcher.inBackground.empty()) << "the file stays";
    EXPECT_TRUE(world.files.removed.empty());
}

TEST_F(PrintJob, asADryRunLeavesAnEarlierErrorStanding) {
    m().lastPrintError = "Print failed: earlier";
    m().sendToCUPS(true);
    EXPECT_EQ(m().lastPrintError.get(), "Print failed: earlier");
}

TEST_F(PrintJob, makesTheSamePageAndCommandInADryRun) {
    m().sendToCUPS(true);
    m().sendToCUPS(false);
    ASSERT_EQ(world.pdf.pages.size(), 2U);
    EXPECT_EQ(world.pdf.pages[0]->lines, world.pdf.pages[1]->lines);
    EXPECT_NE(world.pdf.pages[0]->path, world.pdf.pages[1]->path) << "each has its file";
    EXPECT_EQ(world.pdf.pages[1]->path,
              "/tmp/ada/Lumivert_00000000-0000-0000-0000-000000000002.pdf");
}

TEST_F(PrintJob, reportsAPageThatCannotBeWrittenAndSendsNothing) {
    m().lastCUPSCommand = "an earlier one";
    for (const bool dryRun : {false, true}) {
        world.pdf.writes = false;
        m().lastPrintError = std::nullopt;
        const AssignmentLog log(m());
        m().sendToCUPS(dryRun);
        EXPECT_EQ(m().lastPrintError.get(), "Could not create PDF context");
        EXPECT_EQ(log.names, Strings{"lastPrintError"});
    }
    EXPECT_EQ(m().lastCUPSCommand.get(), "an earlier one");
    EXPECT_TRUE(world.processes.commands.empty());
    EXPECT_TRUE(world.lines.empty());
    EXPECT_TRUE(world.opened.empty());
    EXPECT_TRUE(world.dispatcher.inBackground.empty());
}

TEST_F(PrintJob, sendsNoSheetWithoutAProfileThatMayBeAGoodOne) {
    m().availableICCProfiles = {{"/p.icc", "p", "/p.icc", true}};
    m().selectedICCProfileID = "/p.icc";
    world.files.files["/p.icc"] = "lost profile";
    m().sendToCUPS(false);
    EXPECT_EQ(m().lastPrintError.get(), "Could not create PDF context");
    EXPECT_TRUE(world.pdf.pages.empty());
    EXPECT_TRUE(world.processes.commands.empty());
}

TEST_F(PrintJob, reportsAShellThatCannotBeStarted) {
    world.processes.launchFailure = "No such file or directory";
    m().sendToCUPS(false);
    EXPECT_EQ(m().lastPrintError.get(), "Could not send to printer: No such file or directory");
    EXPECT_EQ(m().lastCUPSCommand.get(), plainCommand);
    EXPECT_TRUE(world.dispatcher.inBackground.empty()) << "the file stays";
    EXPECT_TRUE(world.files.removed.empty());
}

TEST_F(PrintJob, reportsWhatLpSaysWhenItFails) {
    for (const int status : {1, 2, 127, 139, -1}) {
        lp() = {status, "lp: The printer or class does not exist.\n"};
        m().sendToCUPS(false);
        EXPECT_EQ(m().lastPrintError.get(),
                  "Print failed: lp: The printer or class does not exist.\n");
    }
    EXPECT_TRUE(world.dispatcher.inBackground.empty()) << "the files stay";
}

TEST_F(PrintJob, reportsNoTextWhenLpsIsNotUtf8) {
    lp() = {1, "lp: \xe5\n"};
    m().sendToCUPS(false);
    EXPECT_EQ(m().lastPrintError.get(), "Print failed: ");
    lp() = {1, ""};
    m().sendToCUPS(false);
    EXPECT_EQ(m().lastPrintError.get(), "Print failed: ");
}

TEST_F(PrintJob, succeedsWhateverLpWrites) {
    for (const char* output : {"request id is Photo_Printer-7 (1 file(s))\n", "\xff", ""}) {
        lp() = {0, output};
        m().sendToCUPS(false);
        EXPECT_EQ(m().lastPrintError.get(), std::nullopt);
    }
    EXPECT_EQ(world.dispatcher.inBackground.size(), 3U);
}

TEST_F(PrintJob, writesTheCommandAsItIsDocumented) {
    EXPECT_EQ(std::string(Command{.path = "/tmp/x.pdf"}),
              "lp -d Photo_Printer -o PageSize=A4 -o MediaType=auto -o cupsPrintQuality=High "
              "\"/tmp/x.pdf\"");
}

TEST_F(PrintJob, namesTheBorderlessSizeWhereThereIsOne) {
    // "cups" is a size whose borderless name is empty, which is a name.
    m().availablePaperSizes = {{"A4", "", 210, 297, "A4", "A4.Fullbleed"},
                               {"Letter", "", 216, 279, "Letter", {}},
                               {"id", "", 100, 100, "cups", ""}};
    const struct {
        const char* paper;
        bool borderless;
        const char* name;
    } cases[] = {{"A4", false, "A4"},         {"A4", true, "A4.Fullbleed"},
                 {"Letter", false, "Letter"}, {"Letter", true, "Letter"},
                 {"gone", true, "A4"},        {"id", true, ""},
                 {"id", false, "cups"}};
    for (const auto& [paper, borderless, name] : cases) {
        m().selectedPaperSizeID = paper;
        m().borderless = borderless;
        world.lastUuid = 0;
        m().sendToCUPS(true);
        EXPECT_EQ(m().lastCUPSCommand.get(), std::string(Command{.pageSize = name}));
    }
}

TEST_F(PrintJob, alwaysNamesTheMediaType) {
    m().availablePaperTypes = {{"Glossy", "Shiny", "Glossy"}, {"id", "Name", "cups value"}};
    for (const auto& [type, name] :
         {std::pair("Glossy", "Glossy"), {"gone", "auto"}, {"id", "cups value"}}) {
        m().selectedPaperTypeID = type;
        world.lastUuid = 0;
        m().sendToCUPS(true);
        EXPECT_EQ(m().lastCUPSCommand.get(), std::string(Command{.mediaType = name}));
    }
}

TEST_F(PrintJob, escapesNothingInTheCommand) {
    world.files.temporary = "/tmp/a \"b\" $HOME `c`";
    m().availablePrinters = {{"q;rm $x", "shown"}};
    m().selectedPrinterID = "q;rm $x";
    m().sendToCUPS(false);
    const std::string expected =
        Command{.printer = "q;rm $x",
                .path = "/tmp/a \"b\" $HOME `c`/Lumivert_00000000-0000-0000-0000-000000000001.pdf"};
    EXPECT_EQ(world.processes.commands, Strings{expected});
}

TEST_F(PrintJob, putsNothingAboutColourIntoTheCommand) {
    m().availableICCProfiles = {{"/p.icc", "p", "/p.icc", true}};
    m().selectedICCProfileID = "/p.icc";
    world.files.files["/p.icc"] = "profile";
    m().renderingIntent = RenderingIntent::absolute;
    m().orientation = PaperOrientation::landscape;
    m().sendToCUPS(true);
    EXPECT_EQ(m().lastCUPSCommand.get(), plainCommand);
}

} // namespace
} // namespace lumivert
