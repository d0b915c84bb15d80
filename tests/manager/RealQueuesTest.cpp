#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

// Listings and PPD files as real queues give them, from the folder that LUMIVERT_SAMPLES names.
namespace lumivert {
namespace {

class RealQueues : public testing::Test {
protected:
    void SetUp() override {
        const char* folder = std::getenv("LUMIVERT_SAMPLES");
        if (!folder)
            GTEST_SKIP() << "LUMIVERT_SAMPLES names no folder of samples";
        m_folder = folder;
    }
    std::string sample(const std::string& name) {
        std::ifstream file(m_folder + "/" + name, std::ios::binary);
        EXPECT_TRUE(file) << name << " is not among the samples";
        return {std::istreambuf_iterator<char>(file), {}};
    }
    PrintManager& queue(const std::string& listing, const std::string& ppd) {
        world.addQueue("Q", listing, ppd);
        return manager.emplace(world.platform);
    }
    const PaperSize& size(const std::string& id) {
        for (const PaperSize& s : manager->availablePaperSizes.get())
            if (s.id == id)
                return s;
        ADD_FAILURE() << "no size " << id;
        return manager->availablePaperSizes->front();
    }

    fakes::FakePlatform world;
    std::optional<PrintManager> manager;

private:
    std::string m_folder;
};

TEST_F(RealQueues, withoutADriverGiveExactSizesAndBareMediaNames) {
    const PrintManager& m = queue(sample("lpoptions-everywhere.txt"), sample("ppd-everywhere.ppd"));
    ASSERT_EQ(m.availablePaperSizes->size(), 5U);
    EXPECT_EQ(size("A4"), (PaperSize{"A4", "A4 (210 × 297 mm)", 210.0, 297.0, "A4", {}}));
    EXPECT_EQ(size("Env10").name, "Env10 (105 × 241 mm)");
    EXPECT_EQ(size("Letter").widthMM, 215.9);
    EXPECT_EQ(m.selectedPaperSizeID.get(), "A4");
    ASSERT_EQ(m.availablePaperTypes->size(), 8U);
    EXPECT_EQ(m.availablePaperTypes->front(), (PaperType{"Auto", "Auto", "Auto"}));
    EXPECT_EQ(m.selectedPaperTypeID.get(), "Auto") << "the first: \"Auto\" is not \"auto\"";
}

TEST_F(RealQueues, ofAClassicDriverMeasureAsA4Throughout) {
    const PrintManager& m = queue(sample("lpoptions-cups-pdf.txt"), sample("ppd-cups-pdf.ppd"));
    EXPECT_EQ(m.availablePaperSizes->size(), 65U);
    for (const PaperSize& s : m.availablePaperSizes.get()) {
        EXPECT_EQ(s.widthMM, 210.0) << s.id;
        EXPECT_EQ(s.heightMM, 297.0) << s.id;
        EXPECT_EQ(s.name, s.id + " (210 × 297 mm)");
    }
    EXPECT_TRUE(m.loadPaperDimensions("Q").contains("A4/A4"));
    EXPECT_EQ(m.availablePaperTypes.get(), std::vector{automaticPaperType()});
}

TEST_F(RealQueues, ofAPhotoPrinterListEverySizeButTheCustomOnes) {
    const PrintManager& m = queue(sample("lpoptions-gutenprint-p800.txt"), "");
    std::set<std::string> ids;
    for (const PaperSize& s : m.availablePaperSizes.get())
        ids.insert(s.id);
    EXPECT_TRUE(ids.contains("Letter") && ids.contains("A3plus") && ids.contains("M-Oficio"));
    EXPECT_FALSE(ids.contains("CDCustom") || ids.contains("Custom.WIDTHxHEIGHT"));
    EXPECT_EQ(m.availablePaperSizes->front().id, "Letter");
    EXPECT_EQ(m.selectedPaperSizeID.get(), "A4");
    EXPECT_EQ(m.availablePaperTypes->size(), 20U);
    EXPECT_EQ(m.selectedPaperTypeID.get(), "Plain");
}

TEST_F(RealQueues, withBorderlessSizesPairThem) {
    const PrintManager& m = queue("PageSize/Media Size: Letter *A4 A4.Fullbleed 4x6\n"
                                  "MediaType/Media Type: *Glossy Plain\n",
                                  sample("photo-a3.ppd"));
    EXPECT_EQ(m.availablePaperSizes->size(), 3U);
    EXPECT_EQ(size("A4"),
              (PaperSize{"A4", "A4 (210 × 297 mm)", 209.9, 297.0, "A4", "A4.Fullbleed"}));
    EXPECT_EQ(size("4x6").name, "4x6 (102 × 152 mm)");
    EXPECT_EQ(m.selectedPaperType().name, "Photo Paper Glossy");
}

} // namespace
} // namespace lumivert
