#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "manager/Properties.h"
#include "support/CommaLocale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace lumivert {
namespace {

using namespace std::string_literals;
using Strings = std::vector<std::string>;

class PaperSizes : public testing::Test {
protected:
    // The sizes of a queue with this listing and this PPD, for a manager that selected `before`.
    std::vector<PaperSize> sizes(const std::string& listing, const std::string& ppd = "",
                                 const std::string& before = "A4") {
        world.processes.outcomes["lpoptions -p Q -l"].output = listing;
        world.files.files["/etc/cups/ppd/Q.ppd"] = ppd;
        PrintManager m(world.platform);
        m.selectedPaperSizeID = before;
        m.loadPaperSizes("Q");
        selected = m.selectedPaperSizeID;
        return m.availablePaperSizes;
    }
    Strings ids(const std::string& listing) {
        Strings result;
        for (const PaperSize& size : sizes(listing))
            result.push_back(size.id);
        return result;
    }
    std::map<std::string, SizePoints> dimensions(const std::string& ppd) {
        world.files.files["/etc/cups/ppd/Q.ppd"] = ppd;
        const PrintManager m(world.platform);
        return m.loadPaperDimensions("Q");
    }

    fakes::FakePlatform world;
    std::string selected;
};

const std::vector<PaperSize> fallback{
    {"A4", "A4 (210 \u00d7 297 mm)", 210.0, 297.0, "A4", std::nullopt}};

TEST_F(PaperSizes, pairsEachChoiceWithItsBorderlessVariant) {
    const auto list = sizes("PageSize/Media Size: Letter *A4 A4.Fullbleed Custom.WIDTHxHEIGHT\n");
    EXPECT_EQ(list, (std::vector<PaperSize>{
                        {"Letter", "Letter (210 × 297 mm)", 210.0, 297.0, "Letter", std::nullopt},
                        {"A4", "A4 (210 × 297 mm)", 210.0, 297.0, "A4", "A4.Fullbleed"}}));
    EXPECT_EQ(selected, "A4");
}

TEST_F(PaperSizes, knowsWhichHaveNoMeasureOfTheirOwn) {
    world.processes.outcomes["lpoptions -p Q -l"].output = "PageSize/Size: *A4 Letter A3\n";
    world.files.files["/etc/cups/ppd/Q.ppd"] =
        "*PaperDimension Letter: \"612 792\"\n*PaperDimension A3/A3: \"842 1191\"\n";
    PrintManager m(world.platform);
    EXPECT_FALSE(m.selectedPaperSizeIsUnmeasured()) << "no queue, no listing";
    m.loadPaperSizes("Q");
    for (const auto& [id, unmeasured] :
         {std::pair("A4", true), std::pair("Letter", false), std::pair("A3", true)}) {
        m.selectedPaperSizeID = id;
        EXPECT_EQ(m.selectedPaperSizeIsUnmeasured(), unmeasured) << id;
    }
    m.loadPaperSizes("another");
    EXPECT_FALSE(m.selectedPaperSizeIsUnmeasured()) << "the built-in A4";
}

TEST_F(PaperSizes, pairsWhereverTheVariantStandsAndDropsVariantsWithoutABase) {
    const auto list = sizes("PageSize/Media Size: A4.Fullbleed A4 Postcard.Fullbleed "
                            "*A3.Fullbleed A4.Fullbleed .Fullbleed A5.fullbleed A3\n");
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0].cupsFullbleedName, "A4.Fullbleed");
    EXPECT_EQ(list[1].id, "A5.fullbleed") << "only the exact ending counts";
    EXPECT_EQ(list[1].cupsFullbleedName, std::nullopt);
    EXPECT_EQ(list[2].cupsFullbleedName, "A3.Fullbleed");
}

TEST_F(PaperSizes, dropChoicesThatHoldCustomAnywhere) {
    EXPECT_EQ(ids("PageSize/M: MyCustomSize Custom CDCustom xCustom.Fullbleed customA4 A4\n"),
              (Strings{"customA4", "A4"}));
    EXPECT_EQ(ids("PageSize/M: Cus*tom A4\n"), Strings{"A4"}) << "the star goes first";
}

TEST_F(PaperSizes, loseEveryStarAndEmptyChoicesButKeepRepeatsAndOrder) {
    EXPECT_EQ(ids("PageSize/M:  Z  *B * A  ** Z \t\n"), (Strings{"Z", "B", "A", "Z"}));
    EXPECT_EQ(ids("PageSize/M: *A*4* A\t5\n"), (Strings{"A4", "A\t5"}));
}

TEST_F(PaperSizes, comeFromTheFirstFittingLine) {
    for (const std::string& listing :
         {"PageSize/M: A3 B5\n"s, "PageSize/M: A3 B5"s, "x/y: z\nPageSize/M: A3 B5\n\n"s,
          "PageSize/no colon\nPageSize/M: A3 B5\nPageSize/M: C5\n"s, "PageSize/:A3 B5\n"s,
          " PageSize/M: C5\npagesize/M: C5\nPageSize: C5\nPageSizeX/M: C5\nPageSize/M: A3 B5\n"s})
        EXPECT_EQ(ids(listing), (Strings{"A3", "B5"})) << listing;
    EXPECT_EQ(ids("PageSize/Size: of sheet: A3\n"), (Strings{"of", "sheet:", "A3"}))
        << "the first colon ends the keyword";
}

TEST_F(PaperSizes, areA4AloneWhenTheListingGivesNone) {
    for (const char* listing : {"", "\n", "MediaType/M: A3\n", "PageSize/M:\n", "PageSize/M:  \n",
                                "PageSize/M: * **\n", "PageSize/M: Custom.WIDTHxHEIGHT\n",
                                "PageSize/M: A4.Fullbleed\n", "PageSize: A3\n", "PageSize/A3\n"}) {
        EXPECT_EQ(sizes(listing, "*PaperDimension A4: \"1 1\"\n", "Letter"), fallback) << listing;
        EXPECT_EQ(selected, "A4");
    }
}

TEST_F(PaperSizes, areAskedForWithTheQueueNameAsItStands) {
    world.processes.outcomes["lpoptions"].output = "PageSize/M: B5\n";
    PrintManager m(world.platform);
    m.loadPaperSizes("a b;$(c)/d");
    EXPECT_EQ(world.processes.commands.back(), "lpoptions -p a b;$(c)/d -l 2>/dev/null");
    ASSERT_FALSE(world.files.reads.empty());
    EXPECT_EQ(world.files.reads.back(), "/etc/cups/ppd/a b;$(c)/d.ppd");
}

TEST_F(PaperSizes, replaceTheListWhole) {
    PrintManager m(world.platform);
    m.availablePaperSizes = {{"old", "old", 1, 1, "old", {}}};
    world.processes.outcomes["lpoptions"].output = "PageSize/M: B5\n";
    AssignmentLog log(m);
    m.loadPaperSizes("Q");
    EXPECT_EQ(log.names, (Strings{"availablePaperSizes", "selectedPaperSizeID"}));
    ASSERT_EQ(m.availablePaperSizes->size(), 1U);
    EXPECT_EQ(m.availablePaperSizes->front().id, "B5");
}

TEST_F(PaperSizes, keepTheSelectionThatIsStillOffered) {
    sizes("PageSize/M: A4 A3 Letter\n", "", "Letter");
    EXPECT_EQ(selected, "Letter");
}

TEST_F(PaperSizes, selectA4ElseTheFirst) {
    sizes("PageSize/M: Letter A4 A3\n", "", "gone");
    EXPECT_EQ(selected, "A4");
    sizes("PageSize/M: Letter a4 A4x A3\n", "", "gone");
    EXPECT_EQ(selected, "Letter");
    sizes("PageSize/M: *Letter A3\n", "", "letter");
    EXPECT_EQ(selected, "Letter");
}

TEST_F(PaperSizes, measureWhatThePpdSays) {
    const auto list = sizes("PageSize/M: Letter A4 4x6 Unknown\n",
                            "*PPD-Adobe: \"4.3\"\n*PaperDimension Letter: \"612 792\"\n"
                            "*PaperDimension A4: \"595 842\"\n*PaperDimension 4x6: \"288 432\"\n");
    EXPECT_EQ(list, (std::vector<PaperSize>{
                        {"Letter", "Letter (216 × 279 mm)", 215.9, 279.4, "Letter", {}},
                        {"A4", "A4 (210 × 297 mm)", 209.9, 297.0, "A4", {}},
                        {"4x6", "4x6 (102 × 152 mm)", 101.6, 152.4, "4x6", {}},
                        {"Unknown", "Unknown (210 × 297 mm)", 210.0, 297.0, "Unknown", {}}}));
}

TEST_F(PaperSizes, fallBackToA4WhereTheKeyHasATranslationPart) {
    const auto list = sizes("PageSize/M: A3 A4\n", "*PaperDimension A3/A3: \"842 1191\"\n"
                                                   "*PaperDimension A4/A4: \"595 842\"\n");
    for (const PaperSize& size : list) {
        EXPECT_EQ(size.widthMM, 210.0) << size.id;
        EXPECT_EQ(size.heightMM, 297.0) << size.id;
    }
    EXPECT_EQ(dimensions("*PaperDimension A4/A 4: \"595 842\"\n").begin()->first, "A4/A 4");
}

TEST_F(PaperSizes, ofABorderlessVariantTakeTheBasesDimension) {
    const auto list =
        sizes("PageSize/M: A4 A4.Fullbleed\n",
              "*PaperDimension A4: \"288 432\"\n*PaperDimension A4.Fullbleed: \"1 1\"\n");
    EXPECT_EQ(list[0].widthMM, 101.6);
}

TEST_F(PaperSizes, supplyNoDimensionsFromAPpdWithCarriageReturns) {
    EXPECT_TRUE(
        dimensions("*PaperDimension A4: 595 842\r\n*PaperDimension B5: 516 729\r\n").empty());
    EXPECT_TRUE(dimensions("*PaperDimension A4: \"595 842\"\r\n").empty());
    EXPECT_EQ(sizes("PageSize/M: B5\n", "*PaperDimension B5: \"288 432\"\r\n")[0].widthMM, 210.0);
}

TEST_F(PaperSizes, supplyNoDimensionsFromAPpdThatCannotBeRead) {
    EXPECT_EQ(dimensions("*PaperDimension A4: \"595 842\"\n").size(), 1U);
    EXPECT_TRUE(dimensions("*PaperDimension A4: \"595 842\"\n*Note: \"\xe9\"\n").empty());
    world.files.files.clear();
    const PrintManager m(world.platform);
    EXPECT_TRUE(m.loadPaperDimensions("Q").empty());
    EXPECT_TRUE(m.loadPaperDimensions("../Q").empty());
}

TEST_F(PaperSizes, readDimensionLinesStrictly) {
    const struct {
        const char* line;
        bool counts;
    } cases[] = {
        {"*PaperDimension K: \"595 842\"", true},
        {"*PaperDimension K: 595 842", true},
        {"*PaperDimension K:\"595 842\"", true},
        {"*PaperDimension K: \t \"595 842\" \t ", true},
        {"*PaperDimension K: \"595 842 0 0\"", true},
        {"*PaperDimension K: \"595 842 x\"", true},
        {"*PaperDimension K: \"59\"5 \"842\"", true},
        {"*PaperDimension K: \"595 842:x\"", false},
        {"*PaperDimension K: \"595  842\"", false},
        {"*PaperDimension K: \" 595 842\"", false},
        {"*PaperDimension K: \"595\t842\"", false},
        {"*PaperDimension K: \"595\"", false},
        {"*PaperDimension K: \"\"", false},
        {"*PaperDimension K:", false},
        {"*PaperDimension K \"595 842\"", false},
        {"*PaperDimension K: \"595pt 842\"", false},
        {"*PaperDimension K: \"595 842pt\"", false},
        {"*PaperDimension K: \"595,28 841,89\"", false},
        {"*PaperDimension K: \"x 842\"", false},
        {"*PaperDimension K: \"595 - 842\"", false},
        {" *PaperDimension K: \"595 842\"", false},
        {"PaperDimension K: \"595 842\"", false},
        {"*PaperDimensions K: \"595 842\"", false},
        {"*PaperDimension\tK: \"595 842\"", false},
        {"*paperdimension K: \"595 842\"", false},
        {"*DefaultPaperDimension: K", false},
        {"*%PaperDimension K: \"595 842\"", false},
    };
    for (const auto& [line, counts] : cases) {
        const auto table = dimensions("*First: x\n"s + line + "\n*Last: y");
        EXPECT_EQ(table.size(), counts ? 1U : 0U) << line;
        if (counts) {
            EXPECT_EQ(table.begin()->first, "K") << line;
            EXPECT_EQ(table.begin()->second, (SizePoints{595, 842})) << line;
        }
    }
}

TEST_F(PaperSizes, keepTheKeyOfADimensionUntouched) {
    EXPECT_TRUE(dimensions("*PaperDimension  K : \"1 2\"\n").contains(" K "));
    EXPECT_TRUE(dimensions("*PaperDimension : \"1 2\"\n").contains(""));
    const auto table = dimensions("*PaperDimension K: \"1 2\"\n*PaperDimension K: \"3 4\"\n"
                                  "*PaperDimension K: \"bad\"\n*PaperDimension k: \"5 6\"\n");
    EXPECT_EQ(table.size(), 2U);
    EXPECT_EQ(table.at("K"), (SizePoints{3, 4})) << "a later line replaces an earlier one";
}

TEST_F(PaperSizes, readNumbersAsThePosixLocaleDoes) {
    const struct {
        const char* text;
        double value;
    } numbers[] = {{"595.275590551181", 595.275590551181},
                   {"5e2", 500},
                   {"+612", 612},
                   {"-1.5", -1.5},
                   {".5", 0.5},
                   {"7.", 7},
                   {"0x1p3", 8},
                   {"0X1F", 31},
                   {"\t612", 612},
                   {"\v612", 612},
                   {"1e-400", 0},
                   {"inf", INFINITY},
                   {"-Infinity", -INFINITY},
                   {"1e999", INFINITY}};
    for (const auto& [text, value] : numbers) {
        // Second field: leading white space of the first one is trimmed anyway.
        const auto table = dimensions("*PaperDimension K: \"1 "s + text + "\"\n");
        ASSERT_TRUE(table.contains("K")) << text;
        EXPECT_EQ(table.at("K").height, value) << text;
    }
    EXPECT_TRUE(std::isnan(dimensions("*PaperDimension K: \"nan 1\"\n").at("K").width));
    for (const char* text : {"", "e5", "1e", "0x", "--1", "in", "1.2.3", "١", "1\t"})
        EXPECT_TRUE(dimensions("*PaperDimension K: \"1 "s + text + "\"\n").empty()) << text;
}

TEST_F(PaperSizes, readAPointUnderALocaleWithACommaToo) {
    const CommaLocale locale;
    if (!locale.isSet())
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    EXPECT_EQ(dimensions("*PaperDimension K: \"595.5 842.25\"\n").at("K"),
              (SizePoints{595.5, 842.25}));
    EXPECT_TRUE(dimensions("*PaperDimension K: \"595,5 842,25\"\n").empty());
    EXPECT_EQ(sizes("PageSize/M: K\n", "*PaperDimension K: \"288.5 432.5\"\n")[0].name,
              "K (102 × 153 mm)");
}

TEST_F(PaperSizes, roundHalvesAwayFromZero) {
    // In millimetres: 36 points 12.7 exactly, 9 points 3.175, 4.5 points 1.5875, 270 points 95.25.
    const auto size = [&](const std::string& points) {
        return sizes("PageSize/M: K\n", "*PaperDimension K: \"" + points + "\"\n").front();
    };
    EXPECT_EQ(size("36 36").name, "K (13 × 13 mm)");
    EXPECT_EQ(size("36 36").widthMM, 12.7);
    EXPECT_EQ(size("180 540").name, "K (64 × 191 mm)") << "63.5 and 190.5";
    EXPECT_EQ(size("-180 -540").name, "K (-64 × -191 mm)");
    EXPECT_EQ(size("-1 0").name, "K (0 × 0 mm)");
    EXPECT_EQ(size("9 9").widthMM, 3.2);
    EXPECT_EQ(size("270 -270").widthMM, 95.3);
    EXPECT_EQ(size("270 -270").heightMM, -95.3);
    EXPECT_EQ(size("4.5 4.5").name, "K (2 × 2 mm)") << "1.5875";
}

TEST_F(PaperSizes, askTheQueueBeforeReadingThePpd) {
    world.processes.outcomes["lpoptions -p "] = {0, "PageSize/Media Size: A4\n"};
    PrintManager m(world.platform);
    world.files.reads.clear();
    std::size_t readsBefore = 99;
    world.processes.willRun = [&](const std::string&) { readsBefore = world.files.reads.size(); };
    m.loadPaperSizes("a b$c");
    EXPECT_EQ(readsBefore, 0U);
    EXPECT_EQ(world.processes.commands.back(), "lpoptions -p a b$c -l 2>/dev/null");
    EXPECT_EQ(world.files.reads, std::vector<std::string>{"/etc/cups/ppd/a b$c.ppd"});
}

TEST_F(PaperSizes, areNotLookedUpInThePpdWhereThereIsNone) {
    world.processes.outcomes["lpoptions -p "] = {0, "MediaType/Media Type: Plain\n"};
    PrintManager m(world.platform);
    world.files.reads.clear();
    m.loadPaperSizes("Q");
    EXPECT_TRUE(world.files.reads.empty());
}

TEST_F(PaperSizes, areNamedByTheirUnroundedMillimetres) {
    // 284.77 points are 100.4605 mm: 100.5 to the tenth, which would round on to 101.
    const auto list = sizes("PageSize/M: K\n", "*PaperDimension K: \"284.77 284.77\"\n");
    EXPECT_EQ(list[0].widthMM, 100.5);
    EXPECT_EQ(list[0].name, "K (100 × 100 mm)");
}

TEST_F(PaperSizes, nameEveryKnownChoiceAsItself) {
    for (const char* choice : {"A3", "A4", "A5", "A6", "B4", "B5", "B6", "Letter", "Legal",
                               "Tabloid", "Executive", "Statement", "Postcard", "w288h432"}) {
        const auto list = sizes("PageSize/M: "s + choice + "\n");
        EXPECT_EQ(list[0].name, choice + " (210 × 297 mm)"s);
        EXPECT_EQ(list[0].cupsName, choice);
    }
}

TEST_F(PaperSizes, surviveAnAbsurdDimension) {
    const auto list = sizes("PageSize/M: Huge Tiny\n", "*PaperDimension Huge: \"1e300 -1e300\"\n"
                                                       "*PaperDimension Tiny: \"1e-300 5e-324\"\n");
    EXPECT_DOUBLE_EQ(list[0].widthMM, 1e300 * 25.4 / 72);
    EXPECT_EQ(list[0].name, "Huge (9223372036854774784 × -9223372036854774784 mm)");
    EXPECT_EQ(list[1].name, "Tiny (0 × 0 mm)");
}

TEST_F(PaperSizes, ofNoFiniteNumberThatNobodyOffersDoNoHarm) {
    EXPECT_EQ(sizes("PageSize/M: A4\n", "*PaperDimension Other: \"inf nan\"\n").size(), 1U);
}

using PaperSizesDeathTest = PaperSizes;

TEST_F(PaperSizesDeathTest, ofNoFiniteNumberEndTheProgramWithALine) {
    for (const char* dimension :
         {"inf 842", "595 inf", "nan 842", "595 -nan", "-inf 842", "1e999 842", "1e308 842"}) {
        SCOPED_TRACE(dimension);
        EXPECT_EXIT(sizes("PageSize/M: A4\n", "*PaperDimension A4: \""s + dimension + "\"\n"),
                    testing::ExitedWithCode(1),
                    "^Lumivert: the printer's PPD states a paper dimension that is not a finite "
                    "number\n$");
    }
}

} // namespace
} // namespace lumivert
