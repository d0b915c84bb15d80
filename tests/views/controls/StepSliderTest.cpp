#include "views/controls/StepSlider.h"

#include "views/controls/ControlFixture.h"

#include <QAccessible>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QWheelEvent>
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

struct Model : ObservableObject {
    Published<double> length{this, 7};
};

class StepSliderTest : public testing::Test {
protected:
    Model model;
    StepSlider slider{binding(model.length)};
    NotificationCount notifications{model};
    const StepScale toFifty{0, 50, 0.5};

    void wheel(int delta) {
        QWheelEvent event(QPointF(5, 5), slider.mapToGlobal(QPointF(5, 5)), {}, {0, delta},
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&slider, &event);
    }
    void showActive() {
        slider.show();
        slider.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&slider));
    }
};

TEST_F(StepSliderTest, showsTheBoundValueWithoutWriting) {
    slider.refresh(toFifty);
    EXPECT_EQ(slider.value(), 14);
    EXPECT_EQ(slider.maximum(), 100);
    model.length = 12.5;
    notifications.taken();
    slider.refresh(toFifty);
    EXPECT_EQ(slider.value(), 25);
    EXPECT_EQ(notifications.taken(), 0);
}

TEST_F(StepSliderTest, writesOnceForEachStepOfAPerson) {
    slider.refresh(toFifty);
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(model.length.get(), 7.5);
    EXPECT_EQ(notifications.taken(), 1);
    QTest::keyClick(&slider, Qt::Key_Left);
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(model.length.get(), 6.5);
    EXPECT_EQ(notifications.taken(), 2);
    QTest::keyClick(&slider, Qt::Key_PageUp);
    EXPECT_EQ(model.length.get(), 11.5);
    QTest::keyClick(&slider, Qt::Key_End);
    EXPECT_EQ(model.length.get(), 50);
}

TEST_F(StepSliderTest, followsTheMouse) {
    slider.resize(200, 24);
    showActive();
    slider.refresh(toFifty);
    QStyleOptionSlider option;
    option.initFrom(&slider);
    option.orientation = Qt::Horizontal;
    option.maximum = slider.maximum();
    option.sliderPosition = slider.sliderPosition();
    option.sliderValue = slider.value();
    option.subControls = QStyle::SC_All;
    const QPoint knob =
        slider.style()
            ->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider)
            .center();
    QTest::mousePress(&slider, Qt::LeftButton, {}, knob);
    EXPECT_EQ(notifications.taken(), 0) << "pressing alone moves nothing";
    QTest::mouseMove(&slider, knob + QPoint(60, 0));
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, knob + QPoint(60, 0));
    EXPECT_GT(model.length.get(), 15);
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_F(StepSliderTest, leavesAValueBetweenTwoStepsAlone) {
    model.length = 7.25;
    notifications.taken();
    slider.refresh(toFifty);
    EXPECT_EQ(slider.value(), 15);
    EXPECT_EQ(model.length.get(), 7.25);
    EXPECT_EQ(notifications.taken(), 0);
}

TEST_F(StepSliderTest, goesFromBetweenTwoStepsToTheNextOnEitherSide) {
    model.length = 7.25;
    slider.refresh(toFifty);
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(model.length.get(), 7.5);
    model.length = 7.25;
    slider.refresh(toFifty);
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(model.length.get(), 7);
    model.length = 60;
    slider.refresh(toFifty);
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(model.length.get(), 50);
    model.length = 0.5;
    slider.refresh({1, 50, 0.5});
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(model.length.get(), 0.5) << "there is none below";
}

TEST_F(StepSliderTest, leavesAValueBeyondItsEndAlone) {
    model.length = 60;
    notifications.taken();
    slider.refresh(toFifty);
    EXPECT_EQ(slider.value(), 100);
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(model.length.get(), 60);
    EXPECT_EQ(notifications.taken(), 0);
}

TEST_F(StepSliderTest, doesNotWriteWhenItsRangeShrinks) {
    model.length = 40;
    slider.refresh(toFifty);
    notifications.taken();
    slider.refresh({0, 10, 0.5});
    EXPECT_EQ(slider.value(), 20);
    EXPECT_EQ(model.length.get(), 40);
    slider.refresh(toFifty);
    EXPECT_EQ(slider.value(), 80) << "the range is set before the value";
    EXPECT_EQ(notifications.taken(), 0);
}

TEST_F(StepSliderTest, turnsWithTheWheelOnlyWhileItHasTheFocus) {
    slider.refresh(toFifty);
    wheel(120);
    EXPECT_EQ(model.length.get(), 7);
    showActive();
    slider.setFocus();
    ASSERT_TRUE(slider.hasFocus());
    wheel(120);
    EXPECT_GT(model.length.get(), 7);
    EXPECT_FALSE(slider.focusPolicy() & Qt::WheelFocus & ~Qt::StrongFocus);
}

TEST_F(StepSliderTest, speaksMillimetresToAssistiveTechnology) {
    slider.refresh({1, 210, 0.5});
    QAccessibleValueInterface* value =
        QAccessible::queryAccessibleInterface(&slider)->valueInterface();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->currentValue().toDouble(), 7);
    EXPECT_EQ(value->minimumValue().toDouble(), 1);
    EXPECT_EQ(value->maximumValue().toDouble(), 210);
    EXPECT_EQ(value->minimumStepSize().toDouble(), 0.5);
    value->setCurrentValue(100.5);
    EXPECT_EQ(model.length.get(), 100.5);
    EXPECT_EQ(notifications.taken(), 1);
}

} // namespace
} // namespace lumivert
