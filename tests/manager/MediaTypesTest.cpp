#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "manager/Properties.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lumivert {
namespace {

using namespace std::string_literals;
using Strings = std::vector<std::string>;

class MediaTypes : public testing::Test {
protected:
    std::vector<PaperType> types(const std::string& listing, const std::string& ppd = "",
                                 const std::string& before = "gone") {
        world.processes.outcomes["lpoptions -p Q -l"].output = listing;
        world.files.files["/etc/cups/ppd/Q.ppd"] = ppd;
        PrintManager m(world.platform);
        m.selectedPaperTypeID = before;
        m.loadMediaTypes("Q");
        selected = m.selectedPaperTypeID;
        return m.availablePaperTypes;
    }
    std::map<std::string, std::string> names(const std::string& ppd) {
        world.files.files["/etc/cups/ppd/Q.ppd"] = ppd;
        const PrintManager m(world.platform);
        return m.loadMediaTypeNames("Q");
    }
    std::string selectedFrom(const std::string& choices, const std::string& before = "gone") {
        types("MediaType/Media Type: " + choices + "\n", "", before);
        return selected;
    }

    fakes::FakePlatform world;
    std::string selected;
};

TEST_F(MediaTypes, takeTheirLabelFromThePpdThenTheTableThenThemselves) {
    const auto list =
        types("MediaType/Media Type: *Glossy Plain stationery photographic\n",
              "*OpenUI *MediaType/Media Type: PickOne\n*DefaultMediaType: Plain\n"
              "*MediaType Glossy/Photo Paper Glossy: \"<</MediaType(Glossy)>>setpagedevice\"\n"
              "*MediaType Plain: \"\"\n*MediaType photographic/Foto: \"\"\n");
    EXPECT_EQ(list, (std::vector<PaperType>{{"Glossy", "Photo Paper Glossy", "Glossy"},
                                            {"Plain", "Plain", "Plain"},
                                            {"stationery", "Plain Paper", "stationery"},
                                            {"photographic", "Foto", "photographic"}}));
    EXPECT_EQ(selected, "Glossy");
}

TEST_F(MediaTypes, haveSixteenStandardNames) {
    const std::vector<std::pair<const char*, const char*>> table{
        {"stationery", "Plain Paper"},
        {"stationery-bond", "Bond Paper"},
        {"stationery-heavyweight", "Heavy Paper"},
        {"stationery-letterhead", "Letterhead"},
        {"stationery-preprinted", "Preprinted"},
        {"stationery-prepunched", "Prepunched"},
        {"stationery-colored", "Colored Paper"},
        {"stationery-lightweight", "Light Paper"},
        {"photographic", "Photo Paper"},
        {"cardstock", "Card Stock"},
        {"envelope", "Envelope"},
        {"envelope-heavyweight", "Heavy Envelope"},
        {"labels", "Labels"},
        {"transparency", "Transparency"},
        {"auto", "Auto"},
        {"any", "Auto"},
        {"Stationery", "Stationery"}, // case counts
        {"stationery-", "stationery-"},
    };
    for (const auto& [choice, label] : table)
        EXPECT_EQ(types("MediaType/M: "s + choice + "\n"),
                  (std::vector<PaperType>{{choice, label, choice}}));
}

TEST_F(MediaTypes, keepOrderAndRepeatsAndDropOnlyEmptyChoices) {
    Strings ids;
    for (const PaperType& type : types("MediaType/M:  Z  *B * Custom Z any \t\n"))
        ids.push_back(type.id);
    EXPECT_EQ(ids, (Strings{"Z", "B", "Custom", "Z", "any"}));
}

TEST_F(MediaTypes, areAutoAloneWhenTheListingGivesNone) {
    for (const char* listing :
         {"", "PageSize/M: A4\n", "MediaType/M:\n", "MediaType/M: * \n", "MediaType: Glossy\n",
          "MediaType/Glossy\n", "StpMediaType/M: Glossy\n", "mediatype/M: Glossy\n"}) {
        EXPECT_EQ(types(listing, "*MediaType Glossy/Glossy: \"\"\n"),
                  (std::vector<PaperType>{{"auto", "Auto", "auto"}}))
            << listing;
        EXPECT_EQ(selected, "auto");
    }
}

TEST_F(MediaTypes, comeFromTheFirstFittingLine) {
    const auto list = types("MediaType/no colon\nMediaType/M: Photo\nMediaType/M: Other\n");
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].id, "Photo");
}

TEST_F(MediaTypes, selectAutoThenAnyThenTheFirst) {
    EXPECT_EQ(selectedFrom("Glossy any auto"), "auto");
    EXPECT_EQ(selectedFrom("auto any Glossy"), "auto");
    EXPECT_EQ(selectedFrom("Glossy any Plain"), "any");
    EXPECT_EQ(selectedFrom("Glossy Plain"), "Glossy");
    EXPECT_EQ(selectedFrom("Glossy Auto ANY"), "Glossy") << "case counts";
}

TEST_F(MediaTypes, keepTheSelectionThatIsStillOffered) {
    EXPECT_EQ(selectedFrom("auto any Glossy", "Glossy"), "Glossy");
    EXPECT_EQ(selectedFrom("auto any Glossy", "glossy"), "auto");
}

TEST_F(MediaTypes, replaceTheListWholeAndAssignTheSelectionOnlyWhenItChanges) {
    PrintManager m(world.platform);
    world.processes.outcomes["lpoptions"].output = "MediaType/M: Glossy\n";
    AssignmentLog log(m);
    m.loadMediaTypes("Q");
    EXPECT_EQ(log.names, (Strings{"availablePaperTypes", "selectedPaperTypeID"}));
    m.loadMediaTypes("Q");
    EXPECT_EQ(log.names.size(), 3U);
    EXPECT_EQ(m.availablePaperTypes->size(), 1U);
}

TEST_F(MediaTypes, askTheQueueBeforeReadingThePpd) {
    PrintManager m(world.platform);
    std::size_t readsBefore = 99;
    world.processes.willRun = [&](const std::string&) { readsBefore = world.files.reads.size(); };
    m.loadMediaTypes("a b$c");
    EXPECT_EQ(readsBefore, 0U);
    EXPECT_EQ(world.processes.commands.back(), "lpoptions -p a b$c -l 2>/dev/null");
    EXPECT_EQ(world.files.reads, Strings{"/etc/cups/ppd/a b$c.ppd"});
}

TEST_F(MediaTypes, readLabelLinesAsTheyStand) {
    const struct {
        const char* line;
        std::map<std::string, std::string> table;
    } cases[] = {
        {"*MediaType Glossy/Photo Paper Glossy: \"code\"", {{"Glossy", "Photo Paper Glossy"}}},
        {"*MediaType Glossy/Photo: Glossy: \"code\"", {{"Glossy", "Photo"}}}, // cut at the colon
        {"*MediaType Glossy/Photo/Glossy: \"code\"", {{"Glossy", "Photo/Glossy"}}},
        {"*MediaType  Glossy / Photo : \"code\"", {{" Glossy ", " Photo "}}},
        {"*MediaType Glossy/: \"code\"", {{"Glossy", ""}}},
        {"*MediaType /Photo: \"code\"", {{"", "Photo"}}},
        {"*MediaType Glossy/Foto å: \"code\"", {{"Glossy", "Foto å"}}},
        {"*MediaType Plain: \"a/b\"", {}}, // the slash stands behind the colon
        {"*MediaType Glossy/Photo", {}},
        {"*MediaType\tGlossy/Photo: \"code\"", {}},
        {" *MediaType Glossy/Photo: \"code\"", {}},
        {"*OpenUI *MediaType/Media Type: PickOne", {}},
        {"*DefaultMediaType: Glossy/x", {}},
        {"*sv.MediaType Glossy/Foto: \"\"", {}},
    };
    for (const auto& [line, table] : cases) {
        EXPECT_EQ(names("*First: x\n"s + line + "\n"), table) << line;
        EXPECT_EQ(names(line), table) << line;
        EXPECT_EQ(names(line + "\r\n"s), table) << line << " with a carriage return";
    }
}

TEST_F(MediaTypes, takeTheLaterLabelOfOneChoice) {
    EXPECT_EQ(names("*MediaType G/one: \"\"\n*MediaType G/two: \"\"\n*MediaType G: \"\"\n"),
              (std::map<std::string, std::string>{{"G", "two"}}));
}

TEST_F(MediaTypes, loseOnlyTheirLabelsWithoutAReadablePpd) {
    EXPECT_TRUE(names("*MediaType G/one: \"\"\n*Note: \"\xe9\"\n").empty());
    world.files.files.clear();
    const PrintManager m(world.platform);
    EXPECT_TRUE(m.loadMediaTypeNames("Q").empty());
    EXPECT_EQ(
        types("MediaType/M: G stationery\n", "*MediaType G/one: \"\"\n\xff"),
        (std::vector<PaperType>{{"G", "G", "G"}, {"stationery", "Plain Paper", "stationery"}}));
}

} // namespace
} // namespace lumivert
