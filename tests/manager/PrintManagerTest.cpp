#include "manager/PrintManager.h"

#include "fakes/FakePlatform.h"
#include "manager/Properties.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <type_traits>
#include <vector>

namespace lumivert {
namespace {

using Strings = std::vector<std::string>;

static_assert(!std::is_copy_constructible_v<PrintManager> &&
              !std::is_move_constructible_v<PrintManager>);

TEST(PrintManager, beginsWithTheStatedValues) {
    fakes::FakePlatform world;
    const PrintManager m(world.platform);

    EXPECT_EQ(m.image.get(), nullptr);
    EXPECT_EQ(m.imageURL.get(), std::nullopt);
    EXPECT_FALSE(m.showFileImporter);
    EXPECT_TRUE(m.availablePrinters->empty());
    EXPECT_EQ(m.selectedPrinterID.get(), "");
    EXPECT_TRUE(m.availablePaperSizes->empty());
    EXPECT_EQ(m.availablePaperTypes.get(), (std::vector<PaperType>{{"auto", "Auto", "auto"}}));
    EXPECT_EQ(m.selectedPaperSizeID.get(), "A4");
    EXPECT_EQ(m.selectedPaperTypeID.get(), "auto");
    EXPECT_EQ(m.orientation, PaperOrientation::auto_);
    EXPECT_FALSE(m.borderless);
    EXPECT_EQ(m.sizingMode, SizingMode::margins);
    EXPECT_EQ(m.margins.get(), (Margins{5, 5, 5, 5}));
    EXPECT_EQ(m.imageWidthMM, 190.0);
    EXPECT_EQ(m.imageHeightMM, 277.0);
    EXPECT_TRUE(m.imageSizeCentered);
    EXPECT_EQ(m.imageSizeMarginTop, 0.0);
    EXPECT_EQ(m.imageSizeMarginLeft, 0.0);
    EXPECT_EQ(m.selectedICCProfileID.get(), "printer_managed");
    EXPECT_EQ(m.renderingIntent, RenderingIntent::perceptual);
    EXPECT_EQ(m.availableICCProfiles.get(),
              (std::vector<ICCProfile>{
                  {"printer_managed", "Printer Managed (standard)", std::nullopt, false}}));
    EXPECT_EQ(m.scalingMode, ScalingMode::fitToPage);
    EXPECT_EQ(m.lastPrintError.get(), std::nullopt);
    EXPECT_EQ(m.lastCUPSCommand.get(), std::nullopt);
    EXPECT_FALSE(m.showConfirmPrint);
    EXPECT_TRUE(m.presets->empty());
    EXPECT_FALSE(m.showSavePreset);
}

TEST(PrintManager, loadsThePresetsAndThenDetectsThePrinters) {
    fakes::FakePlatform world;
    world.addQueue("Photo_A3", "PageSize/Media Size: A3\nMediaType/Media: Glossy\n");
    world.preferences.values["SavedPrintPresets"] = "[]";
    bool presetsWereRead = false;
    world.processes.willRun = [&](const std::string&) {
        presetsWereRead = world.preferences.reads == Strings{"SavedPrintPresets"};
    };
    const PrintManager m(world.platform);

    EXPECT_TRUE(presetsWereRead);
    EXPECT_EQ(m.availablePrinters.get(), (std::vector<Printer>{{"Photo_A3", "Photo_A3"}}));
    EXPECT_EQ(m.selectedPrinterID.get(), "Photo_A3");
    EXPECT_EQ(m.selectedPaperSizeID.get(), "A3");
    EXPECT_EQ(m.selectedPaperTypeID.get(), "Glossy");
}

TEST(PrintManager, loadsNeitherProfilesNorAPhotoAtTheStartAndStoresNothing) {
    fakes::FakePlatform world;
    world.addQueue("Photo_A3");
    world.files.folders["/Library/Printers"] = {"a.icc"};
    const PrintManager m(world.platform);
    EXPECT_EQ(m.availableICCProfiles->size(), 1U);
    EXPECT_EQ(world.files.enumerated, Strings{});
    EXPECT_EQ(world.images.decoded, Strings{});
    EXPECT_EQ(world.preferences.writes, 0);
    EXPECT_TRUE(world.dispatcher.inBackground.empty() && world.dispatcher.onMain.empty());
}

TEST(PrintManager, notifiesOnceAtEveryAssignmentToAnyProperty) {
    fakes::FakePlatform world;
    PrintManager m(world.platform);
    AssignmentLog log(m);
    int expected = 0;
    forEachProperty(m, [&](const char* name, auto& property) {
        SCOPED_TRACE(name);
        property = property.get(); // an equal value
        EXPECT_EQ(log.notifications, ++expected);
        ASSERT_EQ(log.names.size(), static_cast<std::size_t>(expected));
        EXPECT_EQ(log.names.back(), name);
    });
}

TEST(PrintManager, hasEachOfItsPropertiesInTheTestsListInTheOrderDeclared) {
    std::ifstream header(LUMIVERT_TREE "/src/manager/PrintManager.h");
    const std::regex property(R"(^    Published<.*> (\w+)\{this,.*)");
    Strings declared;
    std::smatch match;
    for (std::string line; std::getline(header, line);)
        if (std::regex_match(line, match, property))
            declared.push_back(match[1]);
    fakes::FakePlatform world;
    PrintManager m(world.platform);
    Strings listed;
    forEachProperty(m, [&](const char* name, auto&) { listed.push_back(name); });
    EXPECT_EQ(listed, declared) << "tests/manager/Properties.h lists what the header declares";
    EXPECT_EQ(listed.size(), 27U);
}

TEST(PrintManager, reactsToNoAssignmentItself) {
    fakes::FakePlatform world;
    world.addQueue("Q", "PageSize/Media Size: A4\n");
    PrintManager m(world.platform);
    const auto commands = world.processes.commands.size();
    const auto reads = world.files.reads.size();
    AssignmentLog log(m);
    m.selectedPrinterID = "Other";
    m.orientation = PaperOrientation::landscape;
    m.borderless = true;
    m.selectedICCProfileID = "x";
    m.showConfirmPrint = true;
    EXPECT_EQ(log.notifications, 5);
    EXPECT_EQ(world.processes.commands.size(), commands);
    EXPECT_EQ(world.files.reads.size(), reads);
    EXPECT_EQ(world.preferences.writes, 0);
    EXPECT_EQ(m.selectedPaperSizeID.get(), "A4");
}

TEST(DerivedSelections, fallBackOnAMachineWithoutPrinters) {
    fakes::FakePlatform world;
    const PrintManager m(world.platform);
    EXPECT_EQ(m.selectedPrinter(), std::nullopt);
    EXPECT_EQ(m.selectedPaperSize(), defaultPaperSize());
    EXPECT_EQ(m.selectedPaperType(), automaticPaperType());
    EXPECT_EQ(m.selectedICCProfile(), printerManagedProfile());
}

TEST(DerivedSelections, takeTheFirstEntryOfThatId) {
    fakes::FakePlatform world;
    PrintManager m(world.platform);
    m.availablePrinters = {{"P", "other"}, {"Q", "first"}, {"Q", "second"}};
    m.selectedPrinterID = "Q";
    EXPECT_EQ(m.selectedPrinter()->name, "first");
    m.availablePaperSizes = {
        {"A3", "", 1, 2, "", {}}, {"A4", "first", 3, 4, "", {}}, {"A4", "second", 5, 6, "", {}}};
    EXPECT_EQ(m.selectedPaperSize().name, "first");
    m.availablePaperTypes = {{"glossy", "", ""}, {"auto", "first", "x"}, {"auto", "second", "y"}};
    EXPECT_EQ(m.selectedPaperType().name, "first");
    m.availableICCProfiles = {
        {"a", "", {}, true}, {"b", "first", "/b", true}, {"b", "2", {}, true}};
    m.selectedICCProfileID = "b";
    EXPECT_EQ(m.selectedICCProfile().name, "first");
}

TEST(DerivedSelections, matchIdsExactly) {
    fakes::FakePlatform world;
    PrintManager m(world.platform);
    m.availablePrinters = {{"Photo", "Photo"}};
    for (const char* id : {"photo", "Photo ", "Photo\n", "Phot", "Photo2", ""}) {
        m.selectedPrinterID = id;
        EXPECT_EQ(m.selectedPrinter(), std::nullopt) << id;
    }
    m.selectedPrinterID = "Photo";
    EXPECT_TRUE(m.selectedPrinter());
    m.availablePaperSizes = {{"a4", "lower case", 1, 2, "a4", {}}};
    EXPECT_EQ(m.selectedPaperSize(), defaultPaperSize());
}

TEST(DerivedSelections, giveTheBuiltInRecordForAnIdThatTheListLacks) {
    fakes::FakePlatform world;
    PrintManager m(world.platform);
    const PaperSize a3{"A3", "A3", 297, 420, "A3", "A3.Fullbleed"};
    const PaperSize a4{"A4", "A4 of this printer", 209.9, 297, "A4", {}};
    m.selectedPaperSizeID = "Letter";
    for (const auto& list : {std::vector<PaperSize>{a4, a3}, {a3}}) {
        m.availablePaperSizes = list;
        EXPECT_EQ(m.selectedPaperSize(), defaultPaperSize()) << "not the list's A4, not its first";
        EXPECT_EQ(m.availablePaperSizes.get(), list) << "nothing is added to the list";
    }
    m.availablePaperTypes = {{"glossy", "Glossy", "glossy"}};
    m.selectedPaperTypeID = "matte";
    EXPECT_EQ(m.selectedPaperType(), automaticPaperType());
    m.availableICCProfiles = {printerManagedProfile(), {"/a.icc", "a", "/a.icc", true}};
    m.selectedICCProfileID = "/a.icc";
    EXPECT_EQ(m.selectedICCProfile().path, "/a.icc");
    m.availableICCProfiles = {printerManagedProfile()};
    EXPECT_EQ(m.selectedICCProfile(), printerManagedProfile());
    EXPECT_EQ(m.selectedICCProfileID.get(), "/a.icc") << "the stored selection stays";
}

} // namespace
} // namespace lumivert
