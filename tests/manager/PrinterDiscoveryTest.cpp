#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "manager/Properties.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lumivert {
namespace {

using Strings = std::vector<std::string>;

struct Queues {
    Strings names;
    std::string selected;
};

class PrinterDiscovery : public testing::Test {
protected:
    // What a manager finds at its start, having nothing selected.
    Queues found(const std::string& printers, const std::string& destination = "") {
        world.processes.outcomes["lpstat -p"].output = printers;
        world.processes.outcomes["lpstat -d"].output = destination;
        const PrintManager m(world.platform);
        Queues result{{}, m.selectedPrinterID};
        for (const Printer& printer : m.availablePrinters.get()) {
            EXPECT_EQ(printer.id, printer.name);
            result.names.push_back(printer.id);
        }
        return result;
    }

    fakes::FakePlatform world;
};

TEST_F(PrinterDiscovery, asksForQueuesThenForTheDefaultThenForTheSelectedOnesOptionsTwice) {
    found("printer Q is idle.\n");
    EXPECT_EQ(world.processes.commands,
              (Strings{"lpstat -p 2>/dev/null", "lpstat -d 2>/dev/null",
                       "lpoptions -p Q -l 2>/dev/null", "lpoptions -p Q -l 2>/dev/null"}));
}

TEST_F(PrinterDiscovery, readsTheLinesOfPrinters) {
    const struct {
        const char* line;
        Strings names;
    } cases[] = {
        {"printer Photo_A3 is idle.  enabled since Mon 3 Jun 10:12:01 2024", {"Photo_A3"}},
        {"skrivare Studio_B är overksam.", {"Studio_B"}},
        {"Printer Office_1 is idle.", {"Office_1"}},
        {"PRINTER Office_1 is idle.", {"Office_1"}},
        {"SkrivAre Studio_B", {"Studio_B"}},
        {"printer Q", {"Q"}},
        {"printer Q\r", {"Q\r"}},
        {"\tAlerts: none", {}},
        {" printer Q is idle.", {}},
        {"\tprinter Q is idle.", {}},
        {"printer", {}},
        {"skrivare", {}},
        {"printers Q are idle.", {}},
        {"imprimante Q est inactive.", {}},
        {"printer\tQ is idle.", {}},
        {"printer  X is idle.", {""}},
        {"printer ", {""}},
        {"", {}},
        {"Q printer", {}},
    };
    for (const auto& [line, names] : cases) {
        SCOPED_TRACE(line);
        EXPECT_EQ(found(line).names, names);
        EXPECT_EQ(found(std::string(line) + "\n").names, names);
        EXPECT_EQ(found("first line\n" + std::string(line) + "\nlast line").names, names);
    }
}

TEST_F(PrinterDiscovery, keepsTheOrderAndListsAQueueAsOftenAsItIsPrinted) {
    EXPECT_EQ(found("printer Z is idle.\n\tReady\nskrivare A är overksam.\nprinter M x\n"
                    "printer Z now printing\n")
                  .names,
              (Strings{"Z", "A", "M", "Z"}));
}

TEST_F(PrinterDiscovery, selectsTheFirstQueueWhenNothingWasSelected) {
    EXPECT_EQ(found("printer B x\nprinter A x\n", "no system default destination\n").selected, "B");
    EXPECT_EQ(found("", "no system default destination\n").selected, "");
}

TEST_F(PrinterDiscovery, doesNotApplyADefaultDestinationThatKeepsItsLineBreak) {
    EXPECT_EQ(found("printer B x\nprinter A x\n", "system default destination: A\n").selected, "B");
    EXPECT_EQ(found("printer B x\nprinter A x\n", "system default destination: A\r\n").selected,
              "B");
}

TEST_F(PrinterDiscovery, appliesADefaultDestinationWithoutALineBreak) {
    for (const char* output :
         {"system default destination: A", "system default destination:A", ":A", ": \t A \t",
          "a: b: A", "several\nlines: x\nthe last: A", "a:: A"})
        EXPECT_EQ(found("printer B x\nprinter A x\n", output).selected, "A") << output;
}

TEST_F(PrinterDiscovery, takesWhatFollowsTheLastColonOfTheWholeOutput) {
    for (const char* output : {"a: A: nowhere", "a: A:", "x: A\ny: z", "A", "", "default A"})
        EXPECT_EQ(found("printer B x\nprinter A x\n", output).selected, "B") << output;
    EXPECT_EQ(found("printer B x\nprinter A x\n", "d: a").selected, "B") << "case counts";
    EXPECT_EQ(found("printer B x\nprinter A x\n", "d: A/instance").selected, "B");
}

TEST_F(PrinterDiscovery, appliesTheDefaultEvenOverAnEarlierSelection) {
    world.processes.outcomes["lpstat -p"].output = "printer B x\nprinter A x\n";
    PrintManager m(world.platform);
    m.selectedPrinterID = "B";
    m.detectPrinters();
    EXPECT_EQ(m.selectedPrinterID.get(), "B");
    world.processes.outcomes["lpstat -d"].output = "system default destination: A";
    m.detectPrinters();
    EXPECT_EQ(m.selectedPrinterID.get(), "A");
}

TEST_F(PrinterDiscovery, keepsASelectionThatIsNoLongerListedAndLoadsItsLists) {
    world.addQueue("Q", "PageSize/Media Size: A3\nMediaType/Media: Glossy\n");
    PrintManager m(world.platform);
    world.processes.outcomes["lpstat -p"].output = "printer Other x\n";
    for (const char* printers : {"printer Other x\n", ""}) {
        world.processes.outcomes["lpstat -p"].output = printers;
        world.processes.commands.clear();
        m.detectPrinters();
        EXPECT_EQ(m.selectedPrinterID.get(), "Q");
        EXPECT_EQ(m.selectedPrinter(), std::nullopt);
        EXPECT_EQ(world.processes.commands.size(), 4U);
        EXPECT_EQ(world.processes.commands.back(), "lpoptions -p Q -l 2>/dev/null");
        EXPECT_EQ(m.availablePaperSizes->front().id, "A3");
    }
    EXPECT_TRUE(m.availablePrinters->empty());
}

TEST_F(PrinterDiscovery, leavesTheListsAloneWhenNoPrinterIsSelected) {
    world.addQueue("Q", "PageSize/Media Size: A3\nMediaType/Media: Glossy\n");
    PrintManager m(world.platform);
    m.selectedPrinterID = "";
    for (const char* printers : {"", "printer  X is idle.\n"}) {
        world.processes.outcomes["lpstat -p"].output = printers;
        world.processes.commands.clear();
        m.detectPrinters();
        EXPECT_EQ(world.processes.commands,
                  (Strings{"lpstat -p 2>/dev/null", "lpstat -d 2>/dev/null"}));
        EXPECT_EQ(m.availablePaperSizes->front().id, "A3");
        EXPECT_EQ(m.availablePaperTypes->front().id, "Glossy");
    }
}

TEST_F(PrinterDiscovery, setsItsPropertiesInOrder) {
    world.addQueue("Q", "PageSize/Media Size: A3\nMediaType/Media: Glossy\n");
    PrintManager m(world.platform);
    m.selectedPrinterID = "";
    m.selectedPaperSizeID = "";
    m.selectedPaperTypeID = "";
    AssignmentLog log(m);
    m.detectPrinters();
    EXPECT_EQ(log.names,
              (Strings{"availablePrinters", "selectedPrinterID", "availablePaperSizes",
                       "selectedPaperSizeID", "availablePaperTypes", "selectedPaperTypeID"}));
    log.names.clear();
    m.detectPrinters();
    EXPECT_EQ(log.names,
              (Strings{"availablePrinters", "availablePaperSizes", "availablePaperTypes"}))
        << "what is still offered is not assigned again";
}

TEST_F(PrinterDiscovery, loadsBothListsForOnePrinterAlsoWhenAnObserverSelectsAnother) {
    world.addQueue("Q", "PageSize/Media Size: A3\n");
    PrintManager m(world.platform);
    world.processes.commands.clear();
    const auto subscription =
        m.availablePaperSizes.subscribe([&] { m.selectedPrinterID = "Other"; });
    m.detectPrinters();
    ASSERT_EQ(world.processes.commands.size(), 4U);
    EXPECT_EQ(world.processes.commands[2], "lpoptions -p Q -l 2>/dev/null");
    EXPECT_EQ(world.processes.commands[3], "lpoptions -p Q -l 2>/dev/null");
}

} // namespace
} // namespace lumivert
