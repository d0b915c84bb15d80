#include "fakes/FakePlatform.h"
#include "manager/PageGeometry.h"
#include "manager/PrintManager.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// What a print job draws on its page.
namespace lumivert {
namespace {

using Strings = std::vector<std::string>;

void expectNear(RectPoints actual, RectPoints expected) {
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
    EXPECT_NEAR(actual.width, expected.width, 1e-9);
    EXPECT_NEAR(actual.height, expected.height, 1e-9);
}

void expectNear(SizePoints actual, SizePoints expected) {
    EXPECT_NEAR(actual.width, expected.width, 1e-9);
    EXPECT_NEAR(actual.height, expected.height, 1e-9);
}

class PrintedPage : public testing::Test {
protected:
    PrintedPage() {
        world.addQueue("Q", "PageSize/Media Size: A4\n");
        manager.emplace(world.platform);
        m().image = photo;
    }

    PrintManager& m() { return *manager; }
    const fakes::PdfRecord& page() {
        m().sendToCUPS(true);
        return *world.pdf.pages.back();
    }
    // 720 x 360 points, margins of 72, 36, 144 and 72 points: R is (144, 36, 504, 252).
    void useAWideSheet() {
        m().availablePaperSizes = {{"S", "S", 254, 127, "S", "S.FB"}};
        m().selectedPaperSizeID = "S";
        m().margins = {.top = 25.4, .bottom = 12.7, .left = 50.8, .right = 25.4};
    }
    void useProfile(const std::string& contents) {
        m().availableICCProfiles = {{"/p.icc", "p", "/p.icc", true}};
        m().selectedICCProfileID = "/p.icc";
        world.files.files["/p.icc"] = contents;
    }
    static bool mentions(const fakes::PdfRecord& record, const std::string& start) {
        for (const std::string& call : record.lines)
            if (call.starts_with(start))
                return true;
        return false;
    }

    fakes::FakePlatform world;
    std::shared_ptr<fakes::FakeImage> photo =
        std::make_shared<fakes::FakeImage>(PixelSize{3000, 2000}, SizePoints{300, 200});
    std::optional<PrintManager> manager;
};

TEST_F(PrintedPage, isMadeInTheStatedOrder) {
    useProfile("profile");
    m().renderingIntent = RenderingIntent::saturation;
    EXPECT_EQ(page().lines, (Strings{
                                "page 595.276 841.890",
                                "intent Saturation",
                                "space of 3",
                                "draw whole in 14.173 231.969 566.929 377.953",
                                "white 0.000 827.717 595.276 14.173",
                                "white 0.000 0.000 595.276 14.173",
                                "white 0.000 0.000 14.173 841.890",
                                "white 581.102 0.000 14.173 841.890",
                            }));
}

TEST_F(PrintedPage, hasExactlyThePapersSize) {
    const auto& a4 = page();
    EXPECT_EQ(a4.size, (SizePoints{210 * 72.0 / 25.4, 297 * 72.0 / 25.4}));
    m().availablePaperSizes = {{"A4", "", 101.6, 152.4, "A4", {}}};
    EXPECT_EQ(page().size, (SizePoints{101.6 * 72.0 / 25.4, 152.4 * 72.0 / 25.4}));
    m().selectedPaperSizeID = "gone";
    EXPECT_EQ(page().size, (SizePoints{210 * 72.0 / 25.4, 297 * 72.0 / 25.4}));
}

TEST_F(PrintedPage, isNeverTurned) {
    const auto lines = page().lines;
    for (const auto orientation : allCases<PaperOrientation>()) {
        m().orientation = orientation;
        EXPECT_EQ(page().lines, lines) << rawValue(orientation);
    }
}

TEST_F(PrintedPage, showsTheOrientationInTheMarginsOfAnImageSizeOnly) {
    m().sizingMode = SizingMode::imageSize;
    m().imageWidthMM = 100;
    m().imageHeightMM = 150;
    const auto pt = [](double mm) { return pointsFromMillimetres(mm); };
    const struct {
        PaperOrientation orientation;
        double topAndBottom, leftAndRight;
    } cases[] = {{PaperOrientation::portrait, 73.5, 55},
                 {PaperOrientation::landscape, 30, 98.5},
                 {PaperOrientation::auto_, 30, 98.5}}; // the photo is wide
    for (const auto& [orientation, topAndBottom, leftAndRight] : cases) {
        m().orientation = orientation;
        const auto& record = page();
        expectNear(record.size, SizePoints{pt(210), pt(297)});
        ASSERT_EQ(record.filled.size(), 4U);
        expectNear(record.filled[0], {0, pt(297 - topAndBottom), pt(210), pt(topAndBottom)});
        expectNear(record.filled[1], {0, 0, pt(210), pt(topAndBottom)});
        expectNear(record.filled[2], {0, 0, pt(leftAndRight), pt(297)});
        expectNear(record.filled[3], {pt(210 - leftAndRight), 0, pt(leftAndRight), pt(297)});
    }
}

struct Placement {
    ScalingMode scaling;
    bool borderless;
    const char* what;
    RectPoints where;
};

class PhotoOnThePage : public PrintedPage, public testing::WithParamInterface<Placement> {};

TEST_P(PhotoOnThePage, liesWhereScalingAndBordersPutIt) {
    const auto& [scaling, borderless, what, where] = GetParam();
    useAWideSheet();
    m().scalingMode = scaling;
    m().borderless = borderless;
    const auto& record = page();
    expectNear(record.size, SizePoints{720, 360});
    ASSERT_EQ(record.drawn.size(), 1U);
    expectNear(record.drawn[0], where);
    EXPECT_TRUE(mentions(record, std::string("draw ") + what + " in "));
    if (borderless) {
        EXPECT_TRUE(record.filled.empty());
        return;
    }
    ASSERT_EQ(record.filled.size(), 4U);
    expectNear(record.filled[0], {0, 288, 720, 72});
    expectNear(record.filled[1], {0, 0, 720, 36});
    expectNear(record.filled[2], {0, 0, 144, 360});
    expectNear(record.filled[3], {648, 0, 72, 360});
}

INSTANTIATE_TEST_SUITE_P(
    EveryScaling, PhotoOnThePage,
    testing::Values(Placement{ScalingMode::fitToPage, false, "whole", {207, 36, 378, 252}},
                    Placement{
                        ScalingMode::fillPage, false, "part 0,250,3000,1500", {144, 36, 504, 252}},
                    Placement{ScalingMode::actualSize, false, "whole", {246, 62, 300, 200}},
                    Placement{ScalingMode::fitToPage, true, "whole", {90, 0, 540, 360}},
                    Placement{ScalingMode::fillPage, true, "whole", {0, -60, 720, 480}},
                    Placement{ScalingMode::actualSize, true, "whole", {210, 80, 300, 200}}),
    [](const auto& placement) {
        std::string name;
        for (const char c : rawValue(placement.param.scaling))
            if (std::isalpha(static_cast<unsigned char>(c)))
                name += c;
        return name + (placement.param.borderless ? "Borderless" : "WithMargins");
    });

TEST_F(PrintedPage, cropsATallPhotoAtItsSides) {
    useAWideSheet();
    m().availablePaperSizes = {{"S", "S", 127, 254, "S", {}}}; // 360 x 720
    m().margins = {.top = 0, .bottom = 0, .left = 0, .right = 0};
    m().scalingMode = ScalingMode::fillPage;
    // Drawn 1080 x 720 at x = -360: a third of the pixels' columns, the middle one, shows.
    const auto& record = page();
    EXPECT_TRUE(mentions(record, "draw part 1000,0,1000,2000 in 0.000 0.000 360.000 720.000"));
    EXPECT_EQ(record.filled.size(), 4U) << "bands of no width are painted too";
}

TEST_F(PrintedPage, doesNotScaleAPhotoThatIsBiggerThanThePage) {
    useAWideSheet();
    m().image = std::make_shared<fakes::FakeImage>(PixelSize{90, 60}, SizePoints{9000, 6000});
    m().scalingMode = ScalingMode::actualSize;
    const auto& record = page();
    expectNear(record.drawn.at(0), {396 - 4500, 162 - 3000, 9000, 6000});
    EXPECT_EQ(record.filled.size(), 4U) << "the bands hide its overhang";
}

TEST_F(PrintedPage, isWhiteWhereTheMarginsEatTheSheet) {
    useAWideSheet();
    const Margins eating[] = {{.top = 0, .bottom = 0, .left = 200, .right = 200},
                              {.top = 100, .bottom = 100, .left = 0, .right = 0},
                              {.top = 100, .bottom = 100, .left = 200, .right = 200},
                              {.top = 0, .bottom = 0, .left = 127, .right = 127}};
    for (const auto scaling : allCases<ScalingMode>()) {
        for (const Margins& margins : eating) {
            SCOPED_TRACE(std::string(rawValue(scaling)) + " " + std::to_string(margins.top));
            m().scalingMode = scaling;
            m().margins = margins;
            const auto& record = page();
            EXPECT_EQ(record.lines.size(), 5U);
            EXPECT_TRUE(record.drawn.empty());
            EXPECT_EQ(record.filled.size(), 4U);
            EXPECT_TRUE(m().lastCUPSCommand.get()) << "it is a page all the same";
        }
    }
    m().borderless = true;
    EXPECT_EQ(page().drawn.size(), 1U) << "borderless knows no margins";
}

TEST_F(PrintedPage, takesNegativeMarginsAsTheyAre) {
    useAWideSheet();
    m().margins = {.top = -25.4, .bottom = -25.4, .left = -25.4, .right = -25.4};
    m().scalingMode = ScalingMode::fillPage; // R is (-72, -72, 864, 504)
    const auto& record = page();
    expectNear(record.drawn.at(0), {-72, -72, 864, 504});
    EXPECT_TRUE(mentions(record, "draw part 0,125,3000,1750 in"));
    expectNear(record.filled.at(0), {0, 432, 720, -72});
    expectNear(record.filled.at(1), {0, 0, 720, -72});
    expectNear(record.filled.at(2), {0, 0, -72, 360});
    expectNear(record.filled.at(3), {792, 0, -72, 360});
}

TEST_F(PrintedPage, isWhiteWhenThePhotosPixelsCannotBeHad) {
    photo->pixels = nullptr;
    for (const bool borderless : {false, true}) {
        m().borderless = borderless;
        const auto& record = page();
        EXPECT_TRUE(record.drawn.empty());
        EXPECT_EQ(record.filled.size(), borderless ? 0U : 4U);
    }
    m().sendToCUPS(false);
    EXPECT_EQ(m().lastPrintError.get(), std::nullopt) << "no error is reported";
    EXPECT_EQ(world.dispatcher.inBackground.size(), 1U);
}

TEST_F(PrintedPage, isWhiteWhereNoPartOfThePhotoCanBeCut) {
    // So far to the side that its rectangle has no end.
    m().image = std::make_shared<fakes::FakeImage>(PixelSize{2, 2}, SizePoints{1e300, 1e-300});
    m().scalingMode = ScalingMode::fillPage;
    const auto& record = page();
    EXPECT_TRUE(record.drawn.empty());
    EXPECT_EQ(record.filled.size(), 4U);
    EXPECT_EQ(m().lastPrintError.get(), std::nullopt);
    m().borderless = true;
    EXPECT_EQ(page().drawn.size(), 1U) << "borderless filling does not crop";
}

TEST_F(PrintedPage, survivesAPhotoOfAbsurdShape) {
    for (const SizePoints size : {SizePoints{1e300, 1e-300}, SizePoints{1e-300, 1e300}}) {
        m().image = std::make_shared<fakes::FakeImage>(PixelSize{2, 2}, size);
        for (const auto scaling : allCases<ScalingMode>()) {
            m().scalingMode = scaling;
            const auto written = world.pdf.pages.size();
            (void)page();
            EXPECT_EQ(world.pdf.pages.size(), written + 1);
        }
    }
}

TEST_F(PrintedPage, carriesTheIntentAndSpaceOfAChosenProfile) {
    for (const auto intent : allCases<RenderingIntent>()) {
        m().renderingIntent = intent;
        useProfile("profile of a printer");
        const auto& record = page();
        EXPECT_EQ(record.lines[1], "intent " + std::string(rawValue(intent)));
        EXPECT_EQ(record.lines[2], "space of 3");
    }
    useProfile("grey profile");
    EXPECT_EQ(page().lines[2], "space of 1");
    useProfile("input profile");
    EXPECT_EQ(page().lines[2], "space of 3");
}

TEST_F(PrintedPage, isMadePlainlyWithoutAUsableProfile) {
    m().renderingIntent = RenderingIntent::absolute;
    const auto plain = page().lines;
    EXPECT_TRUE(plain[1].starts_with("draw whole")) << "printer managed";

    useProfile("no such thing");
    EXPECT_EQ(page().lines, plain);
    EXPECT_EQ(world.files.reads.back(), "/p.icc");
    useProfile("");
    EXPECT_EQ(page().lines, plain);
    useProfile("profile");
    EXPECT_NE(page().lines, plain);
    world.files.files.erase("/p.icc");
    EXPECT_EQ(page().lines, plain) << "unreadable";
    useProfile("profile");
    m().selectedICCProfileID = "/gone.icc";
    EXPECT_EQ(page().lines, plain) << "no longer listed";
    EXPECT_EQ(m().lastPrintError.get(), std::nullopt);
}

TEST_F(PrintedPage, carriesTheProfileAlsoWithoutAPhotoToDraw) {
    useProfile("profile");
    photo->pixels = nullptr;
    EXPECT_EQ(page().lines[2], "space of 3");
}

} // namespace
} // namespace lumivert
