#include "views/controls/StepScale.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace lumivert {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(StepScale, endsAtTheLastStepThatIsNotAboveTheMaximum) {
    struct Row {
        StepScale scale;
        int last;
        double lastValue;
    };
    const std::vector<Row> rows{
        {{0, 50, 0.5}, 100, 50},
        {{0, 0.5, 0.5}, 1, 0.5},
        {{1, 210, 0.5}, 418, 210},
        {{1, 215.9, 0.5}, 429, 215.5},
        {{0, 0.4, 0.5}, 0, 0},
        {{1, 1, 0.5}, 0, 1},
        {{0, 1.1 + 2.2 - 0.3, 0.5}, 6, 3},  // a bit above 3
        {{0, 0.3 * 10 - 1e-15, 0.5}, 6, 3}, // a bit below 3
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.scale.lastPosition(), row.last) << row.scale.maximum;
        EXPECT_DOUBLE_EQ(row.scale.valueAt(row.last), row.lastValue);
    }
}

TEST(StepScale, findsTheNearestPosition) {
    const StepScale scale{0, 50, 0.5};
    struct Row {
        double value;
        int position;
    };
    for (const Row& row : std::vector<Row>{{7, 14},
                                           {7.1, 14},
                                           {7.25, 15},
                                           {7.4, 15},
                                           {-3, 0},
                                           {50, 100},
                                           {60, 100},
                                           {1e300, 100},
                                           {infinity, 100},
                                           {-infinity, 0},
                                           {nan, 0}})
        EXPECT_EQ(scale.nearestPosition(row.value), row.position) << row.value;
}

TEST(StepScale, offersTheStepsOfAHalfFromItsMinimum) {
    const StepScale scale{1, 210, 0.5};
    EXPECT_EQ(scale.valueAt(0), 1);
    EXPECT_EQ(scale.valueAt(1), 1.5);
    EXPECT_EQ(scale.valueAt(scale.nearestPosition(100)), 100);
}

TEST(StepScale, ofAnImmenseRangeStaysCountable) {
    EXPECT_GT(StepScale({0, 1e30, 0.5}).lastPosition(), 0);
}

} // namespace
} // namespace lumivert
