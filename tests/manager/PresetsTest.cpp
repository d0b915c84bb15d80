#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "manager/Properties.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace lumivert {
namespace {

constexpr const char* key = "SavedPrintPresets";

// Differs from the initial settings in every field.
PrintPreset otherSettings() {
    return {.id = fakes::numberedUuid(200),
            .name = "Other",
            .paperSizeID = "A3",
            .paperTypeID = "glossy",
            .orientation = "Landscape",
            .borderless = true,
            .sizingMode = "Image Size",
            .marginTop = 1,
            .marginBottom = 2,
            .marginLeft = 3,
            .marginRight = 4,
            .imageWidthMM = 100,
            .imageHeightMM = 150,
            .imageSizeCentered = false,
            .imageSizeMarginTop = 7,
            .imageSizeMarginLeft = -8,
            .scalingMode = "Actual Size",
            .iccProfileID = "/b.icc",
            .renderingIntent = "Absolute Colorimetric"};
}

class Presets : public testing::Test {
protected:
    std::vector<PrintPreset> stored() {
        return decodePresets(world.preferences.values[key]).value_or(std::vector<PrintPreset>{});
    }

    fakes::FakePlatform world;
};

// What is assigned when a preset is applied is tested below, by hand.
TEST_F(Presets, keepEverySettingWhenSaved) {
    PrintManager m(world.platform);
    m.applyPreset(otherSettings());
    m.savePreset("Other");

    PrintPreset expected = otherSettings();
    expected.id = fakes::numberedUuid(1);
    EXPECT_EQ(m.presets.get(), std::vector{expected});
    EXPECT_EQ(stored(), std::vector{expected});
    EXPECT_EQ(world.preferences.writes, 1);
    EXPECT_EQ(world.preferences.values.size(), 1U);
}

TEST_F(Presets, ofTheseTestsDifferFromTheInitialSettingsInEveryField) {
    PrintManager m(world.platform);
    m.savePreset("First");
    const auto texts = [](const PrintPreset& preset) {
        std::vector<std::string> values;
        forEachField(preset, [&](const char* name, const auto& value) {
            values.push_back(name + (" " + testing::PrintToString(value)));
        });
        return values;
    };
    const auto initial = texts(m.presets->front());
    const auto other = texts(otherSettings());
    for (std::size_t i = 0; i < initial.size(); ++i)
        EXPECT_NE(initial[i], other[i]) << "otherSettings() has to give it another value";
}

TEST_F(Presets, keepEveryPropertyButThese) {
    PrintManager m(world.platform);
    AssignmentLog log(m);
    m.applyPreset(otherSettings());
    std::vector<std::string> notKept;
    forEachProperty(m, [&](const std::string& name, auto&) {
        if (std::ranges::find(log.names, name) == log.names.end())
            notKept.push_back(name);
    });
    EXPECT_EQ(notKept, (std::vector<std::string>{
                           "image", "imageURL", "showFileImporter", "availablePrinters",
                           "selectedPrinterID", "availablePaperSizes", "availablePaperTypes",
                           "availableICCProfiles", "lastPrintError", "lastCUPSCommand",
                           "showConfirmPrint", "presets", "showSavePreset"}))
        << "forEachSetting in src/model/PrintPreset.h lists what presets keep";
}

TEST_F(Presets, keepTheInitialSettingsWhenSavedAtOnce) {
    PrintManager m(world.platform);
    m.savePreset("First");
    const PrintPreset& p = m.presets->front();
    EXPECT_EQ(p.orientation, "Auto");
    EXPECT_EQ(p.sizingMode, "Margins");
    EXPECT_EQ(p.scalingMode, "Fit to Page");
    EXPECT_EQ(p.renderingIntent, "Perceptual");
    EXPECT_EQ(presetSummary(p), "A4 · T5 B5 L5 R5mm · Fit to Page");
}

TEST_F(Presets, areAppendedInOneAssignment) {
    PrintManager m(world.platform);
    AssignmentLog log(m);
    m.savePreset("one");
    EXPECT_EQ(log.names, std::vector<std::string>{"presets"});
    m.deletePreset(m.presets->front());
    EXPECT_EQ(log.notifications, 2);
}

TEST_F(Presets, keepTheNameExactlyAsGiven) {
    PrintManager m(world.platform);
    const std::vector<std::string> names{"  Baryta \t", "", "Åke \"×\" \n日本", " "};
    for (const std::string& name : names)
        m.savePreset(name);
    ASSERT_EQ(m.presets->size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(m.presets.get()[i].name, names[i]);
        EXPECT_EQ(stored()[i].name, names[i]);
    }
}

TEST_F(Presets, mayBearTheSameName) {
    PrintManager m(world.platform);
    m.savePreset("Same");
    m.borderless = true;
    m.savePreset("Same");
    ASSERT_EQ(m.presets->size(), 2U);
    EXPECT_NE(m.presets->front().id, m.presets->back().id);
    EXPECT_FALSE(m.presets->front().borderless);
    EXPECT_TRUE(m.presets->back().borderless);

    m.deletePreset(m.presets->front());
    ASSERT_EQ(m.presets->size(), 1U);
    EXPECT_TRUE(m.presets->front().borderless);
    EXPECT_EQ(stored(), m.presets.get());
}

TEST_F(Presets, areDeletedByTheirIdAlone) {
    PrintManager m(world.platform);
    for (const char* name : {"a", "b", "c"})
        m.savePreset(name);
    PrintPreset renamed = otherSettings();
    renamed.id = m.presets.get()[1].id;
    m.deletePreset(renamed);
    ASSERT_EQ(m.presets->size(), 2U);
    EXPECT_EQ(m.presets.get()[0].name, "a");
    EXPECT_EQ(m.presets.get()[1].name, "c");
    EXPECT_EQ(stored(), m.presets.get());

    PrintPreset sameButForTheId = m.presets->front();
    sameButForTheId.id = fakes::numberedUuid(99);
    m.deletePreset(sameButForTheId);
    EXPECT_EQ(m.presets->size(), 2U);
    EXPECT_EQ(world.preferences.writes, 5) << "stored after every call";
}

TEST_F(Presets, ofOneIdAreAllDeleted) {
    PrintManager m(world.platform);
    PrintPreset other = otherSettings();
    other.id = fakes::numberedUuid(201);
    m.presets = {otherSettings(), other, otherSettings()};
    m.deletePreset(otherSettings());
    EXPECT_EQ(m.presets.get(), std::vector{other});
}

TEST_F(Presets, leaveAnEmptyListBehindWhenTheLastIsDeleted) {
    PrintManager m(world.platform);
    m.savePreset("a");
    m.deletePreset(m.presets->front());
    EXPECT_EQ(world.preferences.values[key], "[]");
}

TEST_F(Presets, areAppliedOnePropertyAfterTheOther) {
    PrintManager m(world.platform);
    AssignmentLog log(m);
    m.applyPreset(otherSettings());
    EXPECT_EQ(log.names, (std::vector<std::string>{
                             "selectedPaperSizeID", "selectedPaperTypeID", "orientation",
                             "borderless", "sizingMode", "margins", "imageWidthMM", "imageHeightMM",
                             "imageSizeCentered", "imageSizeMarginTop", "imageSizeMarginLeft",
                             "scalingMode", "selectedICCProfileID", "renderingIntent"}));
    EXPECT_EQ(log.notifications, static_cast<int>(log.names.size()));

    EXPECT_EQ(m.selectedPaperSizeID.get(), "A3");
    EXPECT_EQ(m.selectedPaperTypeID.get(), "glossy");
    EXPECT_EQ(m.orientation, PaperOrientation::landscape);
    EXPECT_TRUE(m.borderless);
    EXPECT_EQ(m.sizingMode, SizingMode::imageSize);
    EXPECT_EQ(m.margins.get(), (Margins{.top = 1, .bottom = 2, .left = 3, .right = 4}));
    EXPECT_EQ(m.imageWidthMM, 100);
    EXPECT_EQ(m.imageHeightMM, 150);
    EXPECT_FALSE(m.imageSizeCentered);
    EXPECT_EQ(m.imageSizeMarginTop, 7);
    EXPECT_EQ(m.imageSizeMarginLeft, -8);
    EXPECT_EQ(m.scalingMode, ScalingMode::actualSize);
    EXPECT_EQ(m.selectedICCProfileID.get(), "/b.icc");
    EXPECT_EQ(m.renderingIntent, RenderingIntent::absolute);
}

TEST_F(Presets, bringBackWhatWasSaved) {
    PrintManager m(world.platform);
    m.savePreset("initial");
    m.applyPreset(otherSettings());
    m.applyPreset(m.presets->front());
    m.savePreset("initial");
    PrintPreset again = m.presets->back();
    again.id = m.presets->front().id;
    EXPECT_EQ(again, m.presets->front());
}

TEST_F(Presets, touchNothingElseWhenApplied) {
    world.addQueue("Q", "PageSize/Media Size: A4\n");
    PrintManager m(world.platform);
    m.savePreset("a");
    const auto photo = std::make_shared<fakes::FakeImage>(PixelSize{3, 2});
    m.image = photo;
    const auto presets = m.presets.get();
    const auto sizes = m.availablePaperSizes.get();
    const auto commands = world.processes.commands.size();
    m.applyPreset(otherSettings());
    EXPECT_EQ(m.selectedPrinterID.get(), "Q");
    EXPECT_EQ(m.image.get(), photo);
    EXPECT_EQ(m.presets.get(), presets);
    EXPECT_EQ(m.availablePaperSizes.get(), sizes);
    EXPECT_EQ(world.processes.commands.size(), commands);
    EXPECT_EQ(world.preferences.writes, 1) << "only the saving stored anything";
}

TEST_F(Presets, ofUnknownChoicesTakeTheFirstCaseOfEach) {
    PrintManager m(world.platform);
    for (const char* text : {"", "auto", "AUTO", "?", "Fill Page", "perceptual"}) {
        m.applyPreset(otherSettings()); // away from the first cases
        PrintPreset preset = otherSettings();
        preset.orientation = preset.sizingMode = preset.scalingMode = preset.renderingIntent = text;
        m.applyPreset(preset);
        EXPECT_EQ(m.orientation, PaperOrientation::auto_) << text;
        EXPECT_EQ(m.sizingMode, SizingMode::margins) << text;
        EXPECT_EQ(m.scalingMode, ScalingMode::fitToPage) << text;
        EXPECT_EQ(m.renderingIntent, RenderingIntent::perceptual) << text;
    }
}

TEST_F(Presets, meanAnImageSizeByTheExactTextAlone) {
    PrintManager m(world.platform);
    for (const char* text : {"image size", "IMAGE SIZE", "Image size", "Image Size "}) {
        PrintPreset preset = otherSettings();
        m.applyPreset(preset);
        ASSERT_EQ(m.sizingMode, SizingMode::imageSize);
        preset.sizingMode = text;
        m.applyPreset(preset);
        EXPECT_EQ(m.sizingMode, SizingMode::margins) << text;
        EXPECT_NE(presetSummary(preset).find("T1 B2 L3 R4mm"), std::string::npos) << text;
    }
}

TEST_F(Presets, lessTheParenthesisOfFillingFitButShowWhatIsStored) {
    PrintManager m(world.platform);
    PrintPreset preset = otherSettings();
    preset.scalingMode = "Fill Page";
    m.applyPreset(preset);
    EXPECT_EQ(m.scalingMode, ScalingMode::fitToPage);
    EXPECT_EQ(presetSummary(preset), "A3 · 100×150mm · Fill Page");
}

TEST_F(Presets, keepAPaperThatThePrinterLacks) {
    world.addQueue("Q", "PageSize/Media Size: A3 Letter\n");
    PrintManager m(world.platform);
    PrintPreset preset = otherSettings();
    preset.paperSizeID = "Hagaki";
    preset.paperTypeID = "washi";
    preset.iccProfileID = "/gone.icc";
    m.applyPreset(preset);
    EXPECT_EQ(m.selectedPaperSizeID.get(), "Hagaki");
    EXPECT_EQ(m.selectedPaperSize(), defaultPaperSize());
    EXPECT_EQ(m.selectedPaperTypeID.get(), "washi");
    EXPECT_EQ(m.selectedPaperType(), automaticPaperType());
    EXPECT_EQ(m.selectedICCProfileID.get(), "/gone.icc");
    EXPECT_EQ(m.selectedICCProfile(), printerManagedProfile());
}

TEST_F(Presets, areAppliedWholeAlsoWhenAnObserverDeletesThem) {
    PrintManager m(world.platform);
    m.presets = {otherSettings()};
    const auto subscription = m.selectedPaperSizeID.subscribe([&] { m.presets = {}; });
    m.applyPreset(m.presets->front());
    EXPECT_EQ(m.selectedPaperTypeID.get(), "glossy");
    EXPECT_EQ(m.renderingIntent, RenderingIntent::absolute);
}

TEST_F(Presets, standInThePreferencesAtTheNextStart) {
    std::vector<PrintPreset> saved;
    {
        PrintManager m(world.platform);
        m.savePreset("a");
        m.applyPreset(otherSettings());
        m.savePreset("b");
        saved = m.presets;
    }
    const PrintManager next(world.platform);
    EXPECT_EQ(next.presets.get(), saved);
    EXPECT_EQ(next.selectedPaperSizeID.get(), "A4") << "only the presets are kept";
}

TEST_F(Presets, areAbsentAndTheStoredValueUntouchedWhenItCannotBeRead) {
    const std::string good = encodePresets({otherSettings()}).value();
    std::string lacking = encodePresets({otherSettings(), otherSettings()}).value();
    const std::string gone = "\"imageSizeCentered\":false,";
    lacking.erase(lacking.rfind(gone), gone.size());
    for (const std::string& document : {std::string("not JSON"), std::string(), std::string("{}"),
                                        lacking, good.substr(0, good.size() - 1)}) {
        SCOPED_TRACE(document);
        world.preferences.values[key] = document;
        const PrintManager m(world.platform);
        EXPECT_TRUE(m.presets->empty());
        EXPECT_EQ(world.preferences.values[key], document);
    }
    EXPECT_EQ(world.preferences.writes, 0);
}

TEST_F(Presets, replaceAnUnreadableValueWhenNextSavedOrDeleted) {
    for (const bool saves : {true, false}) {
        world.preferences.values[key] = "not JSON";
        PrintManager m(world.platform);
        if (saves)
            m.savePreset("a");
        else
            m.deletePreset(otherSettings());
        EXPECT_EQ(stored(), m.presets.get());
        EXPECT_EQ(world.preferences.values[key] == "[]", !saves);
    }
}

TEST_F(Presets, thatCannotBeEncodedStayInTheListAndLeaveTheStoredValue) {
    PrintManager m(world.platform);
    m.savePreset("good");
    const std::string before = world.preferences.values[key];
    m.imageSizeMarginLeft = std::nan("");
    m.savePreset("bad");
    EXPECT_EQ(m.presets->size(), 2U);
    EXPECT_EQ(world.preferences.values[key], before);
    EXPECT_EQ(world.preferences.writes, 1);
    EXPECT_EQ(m.lastPrintError.get(), std::nullopt);

    m.deletePreset(m.presets->front());
    EXPECT_EQ(m.presets->size(), 1U) << "the change stays in memory";
    EXPECT_EQ(world.preferences.values[key], before);

    m.deletePreset(m.presets->front());
    EXPECT_EQ(world.preferences.values[key], "[]") << "and is stored once it can be";
    m.imageSizeMarginLeft = 0;
    m.savePreset("\xff");
    EXPECT_EQ(world.preferences.values[key], "[]") << "nor can a name that is not UTF-8";
}

} // namespace
} // namespace lumivert
