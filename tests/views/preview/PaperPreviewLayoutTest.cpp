#include "views/preview/PaperPreview.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivert {
namespace {

constexpr OrientedPaper a4{210, 297};
constexpr OrientedPaper a4Landscape{297, 210};

void expectNear(const RectPoints& actual, const RectPoints& expected) {
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
    EXPECT_NEAR(actual.width, expected.width, 1e-9);
    EXPECT_NEAR(actual.height, expected.height, 1e-9);
}

TEST(PaperPreviewLayout, fitsTheSheetIntoTheRoomInsideThePadding) {
    struct Row {
        double width, height;
        OrientedPaper paper;
        RectPoints sheet;
    };
    const std::vector<Row> rows{
        // The width decides.
        {480, 680, a4, {40, (680 - 400 * 297 / 210.0) / 2, 400, 400 * 297 / 210.0}},
        {780, 730, a4Landscape, {40, (730 - 700 * 210 / 297.0) / 2, 700, 700 * 210 / 297.0}},
        // The height decides.
        {1080, 680, a4, {(1080 - 600 * 210 / 297.0) / 2, 40, 600 * 210 / 297.0, 600}},
        // Equal ratios.
        {290, 377, a4, {40, 40, 210, 297}},
        {280, 280, {50, 50}, {40, 40, 200, 200}},
    };
    for (const Row& row : rows)
        expectNear(paperPreviewLayout(row.width, row.height, row.paper, {}, false).sheet,
                   row.sheet);
}

TEST(PaperPreviewLayout, placesTheFrameInsideTheMargins) {
    // 2 pixels a millimetre.
    const Margins margins{.top = 10, .bottom = 30, .left = 5, .right = 25};
    const auto layout = paperPreviewLayout(500, 674, a4, margins, false);
    expectNear(layout.sheet, {40, 40, 420, 594});
    expectNear(layout.frame, {10, 20, 360, 514});
}

TEST(PaperPreviewLayout, framesTheWholeSheetWithoutMargins) {
    const auto layout = paperPreviewLayout(500, 674, a4, {}, true);
    expectNear(layout.frame, {0, 0, 420, 594});
}

TEST(PaperPreviewLayout, keepsTheFrameAtLeastOneWide) {
    // The margins are 100 mm wider and 3 mm higher than the sheet: the centre stays between them.
    const Margins margins{.top = 200, .bottom = 100, .left = 250, .right = 60};
    const auto layout = paperPreviewLayout(500, 674, a4, margins, false);
    EXPECT_EQ(layout.frame.width, 1);
    EXPECT_EQ(layout.frame.height, 1);
    EXPECT_NEAR(layout.frame.x + 0.5, 500 + (420 - 500 - 120) * 0.5, 1e-9);
    EXPECT_NEAR(layout.frame.y + 0.5, 400 + (594 - 400 - 200) * 0.5, 1e-9);
}

TEST(PaperPreviewLayout, letsTheFrameOverhangForNegativeMargins) {
    const auto layout = paperPreviewLayout(500, 674, a4, {.top = -5}, false);
    expectNear(layout.frame, {0, -10, 420, 604});
}

TEST(PaperPreviewLayout, isOutlinedForAnyMarginUnlessBorderless) {
    const auto outlined = [](const Margins& margins, bool borderless) {
        return paperPreviewLayout(500, 674, a4, margins, borderless).outlined;
    };
    EXPECT_FALSE(outlined({}, false));
    EXPECT_TRUE(outlined({.top = 0.5}, false));
    EXPECT_TRUE(outlined({.bottom = 0.5}, false));
    EXPECT_TRUE(outlined({.left = 0.5}, false));
    EXPECT_TRUE(outlined({.right = 0.5}, false));
    EXPECT_FALSE(outlined({.top = -1}, false));
    EXPECT_FALSE(outlined({.top = 5, .bottom = 5, .left = 5, .right = 5}, true));
}

TEST(PaperPreviewLayout, hasNoSheetWhereThereIsNoRoom) {
    for (const auto& [width, height] :
         {std::pair{80.0, 700.0}, {700.0, 80.0}, {20.0, 20.0}, {0.0, 0.0}})
        EXPECT_FALSE(hasArea(paperPreviewLayout(width, height, a4, {}, false).sheet)) << width;
}

} // namespace
} // namespace lumivert
