#include "views/MillimetreInputs.h"

#include "views/ViewFixture.h"
#include "views/controls/StepSlider.h"

#include <memory>

namespace lumivert {
namespace {

struct Model : ObservableObject {
    Published<double> length{this, 7};
    Published<double> most{this, 50};
};

TEST(MarginScale, reachesTheMaximumButAlwaysAHalf) {
    struct Row {
        double max;
        double end;
    };
    for (const Row& row : std::vector<Row>{{50, 50}, {0, 0.5}, {0.3, 0.5}, {-20, 0.5}, {0.5, 0.5}})
        EXPECT_EQ(marginScale(row.max), (StepScale{0, row.end, 0.5})) << row.max;
}

TEST(ImageSizeScale, goesFromOneToTheSheetsSide) {
    EXPECT_EQ(imageSizeScale(297), (StepScale{1, 297, 0.5}));
    EXPECT_EQ(imageSizeScale(1), (StepScale{1, 1, 0.5}));
}

TEST(ImageSizeScaleDeathTest, endsTheProgramForASheetBelowOneMillimetre) {
    for (const double side : {0.99, 0.0, -5.0, std::nan("")})
        EXPECT_EXIT(std::ignore = imageSizeScale(side), testing::ExitedWithCode(1), "Lumivert: ");
}

using MakeRow = QWidget* (*)(const QString&, const QString&, const Binding<double>&,
                             std::function<double()>);

class MillimetreRowTest : public testing::TestWithParam<MakeRow> {
protected:
    MillimetreRowTest() {
        row.resize(270, row.sizeHint().height());
        keepFresh(&row, model);
        row.show();
        QApplication::processEvents();
    }

    QString value() { return labels().back()->text(); }
    std::vector<QLabel*> labels() { return shown<QLabel>(row); }

    Model model;
    std::unique_ptr<QWidget> made{GetParam()("Top", "of the test", binding(model.length),
                                             [this] { return model.most.get(); })};
    QWidget& row = *made;
    NotificationCount notifications{model};
    StepSlider& slider{*row.findChild<StepSlider*>()};
};
INSTANTIATE_TEST_SUITE_P(, MillimetreRowTest,
                         testing::Values<MakeRow>(marginSlider, imageSizeInput));

TEST_P(MillimetreRowTest, hasLabelSliderAndValueInTheirFrames) {
    const auto found = labels();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0]->text(), "Top:");
    EXPECT_EQ(found[0]->geometry().left(), 0);
    EXPECT_EQ(found[0]->width(), 55);
    EXPECT_EQ(found[1]->width(), 55);
    EXPECT_EQ(found[1]->geometry().right(), 269);
    EXPECT_TRUE(found[1]->alignment() & Qt::AlignRight);
    EXPECT_GT(slider.x(), found[0]->geometry().right());
    EXPECT_LT(slider.geometry().right(), found[1]->x());
    EXPECT_EQ(accessibleName(&slider), "Top");
}

TEST_P(MillimetreRowTest, showsOneDecimal) {
    EXPECT_EQ(value(), "7.0 mm");
    model.length = 12.5;
    EXPECT_EQ(value(), "12.5 mm");
    model.length = 7.25;
    EXPECT_EQ(value(), "7.2 mm");
    model.length = 1234.56;
    EXPECT_EQ(value(), "1234.6 mm");
}

TEST_P(MillimetreRowTest, isBoundBothWays) {
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(model.length.get(), 7.5);
    EXPECT_EQ(notifications.taken(), 1);
    EXPECT_EQ(value(), "7.5 mm");
    model.length = 20;
    refreshed();
    EXPECT_EQ(slider.scale().valueAt(slider.value()), 20);
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_P(MillimetreRowTest, doesNotHoldTheValueToTheRange) {
    model.length = 45;
    notifications.taken();
    model.most = 10;
    EXPECT_EQ(model.length.get(), 45);
    EXPECT_EQ(value(), "45.0 mm");
    EXPECT_EQ(slider.value(), slider.maximum());
    EXPECT_EQ(notifications.taken(), 1) << "that of the maximum";
}

} // namespace
} // namespace lumivert
