#include "manager/PageGeometry.h"

#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace lumivert {
namespace {

void expectNear(RectPoints actual, RectPoints expected, double tolerance = 1e-9) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.width, expected.width, tolerance);
    EXPECT_NEAR(actual.height, expected.height, tolerance);
}

TEST(Units, multiplyFirstAndDivideThen) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> lengths(-2000, 2000);
    for (int i = 0; i < 2000; ++i) {
        const double length = lengths(random);
        volatile double scaled = length * 72.0; // no reordering behind the test's back
        EXPECT_EQ(pointsFromMillimetres(length), scaled / 25.4);
        scaled = length * 25.4;
        EXPECT_EQ(millimetresFromPoints(length), scaled / 72);
    }
    EXPECT_NEAR(pointsFromMillimetres(10), 28.346456692913385, 1e-14);
    EXPECT_NEAR(pointsFromMillimetres(210), 595.27559055118107, 1e-12);
    EXPECT_NEAR(pointsFromMillimetres(297), 841.88976377952758, 1e-12);
    EXPECT_EQ(millimetresFromPoints(72), 25.4);
}

TEST(Units, ofMarginsGoSideBySide) {
    const Margins points = pointsFromMillimetres(Margins{25.4, 50.8, -25.4, 0});
    EXPECT_EQ(points, (Margins{72, 144, -72, 0}));
}

TEST(FitAndFill, placeTheStatedExamples) {
    const RectPoints square{0, 0, 100, 100};
    EXPECT_EQ(fitRect({4, 3}, square), (RectPoints{0, 12.5, 100, 75}));
    expectNear(fillRect({4, 3}, square), {-50.0 / 3, 0, 400.0 / 3, 100});
    EXPECT_EQ(fitRect({3, 4}, square), (RectPoints{12.5, 0, 75, 100}));
    expectNear(fillRect({3, 4}, square), {0, -50.0 / 3, 100, 400.0 / 3});
    EXPECT_EQ(fitRect({4, 3}, {10, 20, 100, 100}), (RectPoints{10, 32.5, 100, 75}));
    expectNear(fillRect({4, 3}, {10, 20, 100, 100}), {10 - 50.0 / 3, 20, 400.0 / 3, 100});
}

TEST(FitAndFill, giveTheTargetItselfForItsOwnAspect) {
    for (const RectPoints& target : {RectPoints{0, 0, 100, 75}, RectPoints{-3, 7.5, 512, 384}}) {
        EXPECT_EQ(fitRect({4, 3}, target), target);
        EXPECT_EQ(fillRect({4, 3}, target), target);
    }
}

TEST(FitAndFill, keepTheAspectTheCentreAndTheTouchingSides) {
    std::mt19937_64 random(17);
    std::uniform_real_distribution<double> sides(1, 3000);
    std::uniform_real_distribution<double> origins(-500, 500);
    for (int i = 0; i < 5000; ++i) {
        const SizePoints image{sides(random), sides(random)};
        const RectPoints target{origins(random), origins(random), sides(random), sides(random)};
        const RectPoints fit = fitRect(image, target);
        const RectPoints fill = fillRect(image, target);
        const double slack = 1e-6;
        for (const RectPoints& r : {fit, fill}) {
            ASSERT_NEAR(r.width / r.height, image.width / image.height,
                        1e-9 * image.width / image.height);
            ASSERT_NEAR(r.x + r.width / 2, target.x + target.width / 2, slack);
            ASSERT_NEAR(r.y + r.height / 2, target.y + target.height / 2, slack);
            ASSERT_TRUE(r.width == target.width || r.height == target.height);
        }
        ASSERT_LE(fit.width, target.width + slack);
        ASSERT_LE(fit.height, target.height + slack);
        ASSERT_GE(fill.width, target.width - slack);
        ASSERT_GE(fill.height, target.height - slack);
    }
}

TEST(ActualSize, centresTheImageUnscaled) {
    EXPECT_EQ(actualSizeRect({300, 200}, {144, 36, 504, 252}), (RectPoints{246, 62, 300, 200}));
    EXPECT_EQ(actualSizeRect({300, 200}, {10, 20, 100, 50}), (RectPoints{-90, -55, 300, 200}));
}

TEST(ScalingRules, placeThePhotoOnPageAndPreviewForEveryScaling) {
    constexpr RectPoints rect{10, 20, 100, 100};
    constexpr SizePoints photo{400, 300};
    const RectPoints fitted = fitRect(photo, rect);
    const RectPoints filling = fillRect(photo, rect);
    struct Row {
        ScalingMode scaling;
        RectPoints onPage;
        RectPoints inPreview;
        bool crops;
    };
    const std::vector<Row> rows{
        {ScalingMode::fitToPage, fitted, fitted, false},
        {ScalingMode::fillPage, filling, filling, true},
        {ScalingMode::actualSize, {-140, -80, 400, 300}, fitted, false},
    };
    EXPECT_EQ(rows.size(), allCases<ScalingMode>().size()) << "each scaling has a row here";
    for (const Row& row : rows) {
        SCOPED_TRACE(rawValue(row.scaling));
        const ScalingRule& rule = scalingRule(row.scaling);
        EXPECT_EQ(rule.onPage(photo, rect), row.onPage);
        EXPECT_EQ(rule.inPreview(photo, rect), row.inPreview);
        EXPECT_EQ(rule.crops, row.crops);
    }
}

TEST(PrintableRect, liesInsideTheMarginsAndIsNotCorrected) {
    EXPECT_EQ(printableRect({720, 360}, {.top = 72, .bottom = 36, .left = 144, .right = 18}),
              (RectPoints{144, 36, 558, 252}));
    EXPECT_EQ(printableRect({100, 100}, {.top = 80, .bottom = 70, .left = 60, .right = 90}),
              (RectPoints{60, 70, -50, -50}));
    EXPECT_EQ(printableRect({100, 100}, {.top = -1, .bottom = -2, .left = -3, .right = -4}),
              (RectPoints{-3, -2, 107, 103}));
}

TEST(HasArea, needsPositiveFiniteSides) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(hasArea({-5, -5, 1, 1e-9}));
    for (const RectPoints& none : {RectPoints{0, 0, 0, 1},
                                   {0, 0, 1, 0},
                                   {0, 0, -1, 1},
                                   {0, 0, 1, -1},
                                   {0, 0, -1, -1},
                                   {0, 0, infinity, 1},
                                   {0, 0, 1, infinity},
                                   {infinity, 0, 1, 1},
                                   {0, -infinity, 1, 1},
                                   {0, 0, std::nan(""), 1},
                                   {0, 0, 1, std::nan("")},
                                   {std::nan(""), 0, 1, 1}})
        EXPECT_FALSE(hasArea(none));
}

TEST(Intersection, isWhatBothShare) {
    const RectPoints a{0, 0, 10, 10};
    EXPECT_EQ(intersection(a, {5, 6, 10, 10}), (RectPoints{5, 6, 5, 4}));
    EXPECT_EQ(intersection(a, {-5, -5, 100, 100}), a);
    EXPECT_EQ(intersection(a, {2, 3, 4, 5}), (RectPoints{2, 3, 4, 5}));
    EXPECT_EQ(intersection(a, {10, 0, 10, 10}), std::nullopt) << "they only touch";
    EXPECT_EQ(intersection(a, {0, 11, 10, 10}), std::nullopt);
    for (const RectPoints& none : {RectPoints{0, 0, std::nan(""), 10},
                                   {std::nan(""), 0, 5, 5},
                                   {0, 0, 5, std::numeric_limits<double>::infinity()},
                                   {5, 5, -2, 2}}) {
        EXPECT_EQ(intersection(a, none), std::nullopt);
        EXPECT_EQ(intersection(none, a), std::nullopt);
    }
}

TEST(VisiblePixels, countRowsFromTheTop) {
    // Half the bitmap's height stands above the visible part, a quarter below.
    EXPECT_EQ(visiblePixels({100, 200}, {0, 0, 50, 100}, {10, 25, 20, 25}),
              (PixelRect{20, 100, 40, 50}));
    EXPECT_EQ(visiblePixels({100, 200}, {0, 0, 50, 100}, {0, 0, 50, 100}),
              (PixelRect{0, 0, 100, 200}));
    EXPECT_EQ(visiblePixels({3000, 2000}, {144, -6, 504, 336}, {144, 36, 504, 252}),
              (PixelRect{0, 250, 3000, 1500}));
}

TEST(VisiblePixels, lieWithinHalfAPixelOfTheEdgesInsideTheBitmapAndAreOneAtLeast) {
    std::mt19937_64 random(23);
    std::uniform_real_distribution<double> share(0, 1);
    std::uniform_real_distribution<double> sides(0.5, 3000);
    for (int i = 0; i < 20000; ++i) {
        const PixelSize bitmap{static_cast<int>(1 + random() % 9000),
                               static_cast<int>(1 + random() % 9000)};
        const RectPoints drawn{-sides(random), sides(random), sides(random), sides(random)};
        const double left = share(random) * drawn.width;
        const double below = share(random) * drawn.height;
        const RectPoints visible{drawn.x + left, drawn.y + below,
                                 share(random) * (drawn.width - left),
                                 share(random) * (drawn.height - below)};
        const PixelRect p = visiblePixels(bitmap, drawn, visible);
        ASSERT_GE(p.x, 0);
        ASSERT_GE(p.y, 0);
        ASSERT_GE(p.width, 1);
        ASSERT_GE(p.height, 1);
        ASSERT_LE(p.x + p.width, bitmap.width);
        ASSERT_LE(p.y + p.height, bitmap.height);

        // Where the edges would lie in fractions of a pixel.
        const double sx = bitmap.width / drawn.width;
        const double sy = bitmap.height / drawn.height;
        const double top = (drawn.height - below - visible.height) * sy;
        const double slack = 0.5 + 1e-6;
        const auto expectEdges = [&](int from, int length, double exactFrom, double exactLength) {
            if (exactLength < 1) { // less than a pixel shows as one, no further than that off
                ASSERT_NEAR(from, exactFrom, 1 + 1e-6);
                ASSERT_LE(length, 2);
                return;
            }
            ASSERT_NEAR(from, exactFrom, slack);
            ASSERT_NEAR(from + length, exactFrom + exactLength, slack);
        };
        expectEdges(p.x, p.width, left * sx, visible.width * sx);
        expectEdges(p.y, p.height, top, visible.height * sy);
    }
}

TEST(VisiblePixels, ofABitmapOfOnePixelAreThatPixel) {
    EXPECT_EQ(visiblePixels({1, 1}, {0, 0, 100, 100}, {99, 0, 1, 1}), (PixelRect{0, 0, 1, 1}));
    EXPECT_EQ(visiblePixels({1, 1}, {0, 0, 100, 100}, {0, 99, 1, 1}), (PixelRect{0, 0, 1, 1}));
}

TEST(OrientedPaper, exchangesTheSidesForLandscapeWhateverTheyAre) {
    const PaperSize tall{"", "", 210, 297, "", {}};
    const PaperSize wide{"", "", 297, 210, "", {}};
    EXPECT_EQ(orientedPaper(tall, PaperOrientation::portrait), (OrientedPaper{210, 297}));
    EXPECT_EQ(orientedPaper(tall, PaperOrientation::landscape), (OrientedPaper{297, 210}));
    EXPECT_EQ(orientedPaper(wide, PaperOrientation::portrait), (OrientedPaper{297, 210}));
    EXPECT_EQ(orientedPaper(wide, PaperOrientation::landscape), (OrientedPaper{210, 297}));
}

class Page : public testing::Test {
protected:
    void show(PixelSize pixels) { m.image = std::make_shared<fakes::FakeImage>(pixels); }
    void show(PixelSize pixels, SizePoints points) {
        m.image = std::make_shared<fakes::FakeImage>(pixels, points);
    }
    // A4, an explicit image size.
    void size(double width, double height, bool centered, double top = 0, double left = 0) {
        m.sizingMode = SizingMode::imageSize;
        m.imageWidthMM = width;
        m.imageHeightMM = height;
        m.imageSizeCentered = centered;
        m.imageSizeMarginTop = top;
        m.imageSizeMarginLeft = left;
    }

    fakes::FakePlatform world;
    PrintManager m{world.platform};
};

TEST_F(Page, turnsWithAWidePhotoOnly) {
    EXPECT_EQ(m.effectiveOrientation(), PaperOrientation::portrait) << "no photo";
    show({3000, 3000});
    EXPECT_EQ(m.effectiveOrientation(), PaperOrientation::portrait) << "a square is upright";
    show({3001, 3000});
    EXPECT_EQ(m.effectiveOrientation(), PaperOrientation::landscape);
    show({3000, 3001});
    EXPECT_EQ(m.effectiveOrientation(), PaperOrientation::portrait);
    show({3000, 2000}, {100, 200});
    EXPECT_EQ(m.effectiveOrientation(), PaperOrientation::portrait)
        << "points count, pixels do not";
}

TEST_F(Page, keepsAChosenOrientation) {
    for (const auto chosen : {PaperOrientation::portrait, PaperOrientation::landscape}) {
        m.orientation = chosen;
        m.image = nullptr;
        EXPECT_EQ(m.effectiveOrientation(), chosen);
        show({300, 200});
        EXPECT_EQ(m.effectiveOrientation(), chosen);
        show({200, 300});
        EXPECT_EQ(m.effectiveOrientation(), chosen);
    }
}

TEST_F(Page, hasTheMarginsAsSetWithoutClamping) {
    m.margins = {.top = -1, .bottom = 500, .left = 3, .right = 0.25};
    EXPECT_EQ(m.effectiveMargins(), (Margins{-1, 500, 3, 0.25}));
}

TEST_F(Page, hasNoMarginsWhenBorderless) {
    m.borderless = true;
    EXPECT_EQ(m.effectiveMargins(), Margins{});
    size(100, 150, true);
    EXPECT_EQ(m.effectiveMargins(), Margins{});
    EXPECT_NE(m.marginsFromImageSize(), Margins{}) << "what they would be is not lost";
}

TEST_F(Page, centresAnExplicitImageSize) {
    size(100, 150, true);
    EXPECT_EQ(m.effectiveMargins(), (Margins{73.5, 73.5, 55, 55}));
    m.orientation = PaperOrientation::landscape;
    EXPECT_EQ(m.effectiveMargins(), (Margins{30, 30, 98.5, 98.5}));
    m.orientation = PaperOrientation::auto_;
    show({3000, 2000});
    EXPECT_EQ(m.effectiveMargins(), (Margins{30, 30, 98.5, 98.5})) << "turned by the photo";
    m.sizingMode = SizingMode::margins;
    EXPECT_EQ(m.effectiveMargins(), (Margins{5, 5, 5, 5}));
}

TEST_F(Page, hangsAnExplicitImageSizeFromItsOffsets) {
    size(300, 150, false, 20, 10);
    EXPECT_EQ(m.effectiveMargins(), (Margins{20, 127, 10, 0}));
    size(100, 150, false, -5, -10);
    EXPECT_EQ(m.effectiveMargins(), (Margins{-5, 152, -10, 120}));
    size(100, 150, false, 500, 400);
    EXPECT_EQ(m.effectiveMargins(), (Margins{500, 0, 400, 0}));
    m.orientation = PaperOrientation::landscape;
    size(100, 150, false, 20, 10);
    EXPECT_EQ(m.effectiveMargins(), (Margins{20, 40, 10, 187}));
}

TEST_F(Page, ignoresTheOffsetsWhenCentred) {
    size(100, 150, true, 20, 10);
    EXPECT_EQ(m.effectiveMargins(), (Margins{73.5, 73.5, 55, 55}));
}

TEST_F(Page, leavesNoMarginsForAnImageBeyondTheSheet) {
    size(1000, 1000, true);
    EXPECT_EQ(m.effectiveMargins(), Margins{});
    size(1000, 150, true);
    EXPECT_EQ(m.effectiveMargins(), (Margins{73.5, 73.5, 0, 0}));
}

TEST_F(Page, subtractsTheImageFirstAndTheOffsetThen) {
    // Numbers of which every order of subtraction leaves another rest.
    const double side = 97.0;
    const double length = 41.3;
    const double offset = 24.9;
    const double rest = side - length - offset;
    ASSERT_NE(rest, side - offset - length);
    ASSERT_NE(rest, side - (length + offset));
    m.availablePaperSizes = {{"A4", "", side, side, "A4", {}}};
    size(length, length, false, offset, offset);
    EXPECT_EQ(m.marginsFromImageSize().bottom, rest);
    EXPECT_EQ(m.marginsFromImageSize().right, rest);
}

TEST_F(Page, isMeasuredOnTheSelectedPaper) {
    m.availablePaperSizes = {{"A4", "", 210, 297, "A4", {}}, {"S", "", 100, 80, "S", {}}};
    size(60, 60, true);
    m.selectedPaperSizeID = "S";
    EXPECT_EQ(m.effectiveMargins(), (Margins{10, 10, 20, 20}));
    m.selectedPaperSizeID = "gone";
    EXPECT_EQ(m.effectiveMargins(), (Margins{118.5, 118.5, 75, 75})) << "A4 in its place";
}

} // namespace
} // namespace lumivert
