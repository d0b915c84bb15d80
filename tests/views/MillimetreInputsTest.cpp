#include "views/MillimetreInputs.h"

#include "views/ViewFixture.h"
#include "views/controls/Labels.h"
#include "views/controls/StepSlider.h"

#include <QHBoxLayout>

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

template <class Row>
class MillimetreRowTest : public testing::Test {
protected:
    MillimetreRowTest() {
        row.resize(270, row.sizeHint().height());
        keepFresh(&row, model);
        row.show();
        QApplication::processEvents();
    }

    QString value() { return labels().back()->text(); }
    std::vector<FittedLabel*> labels() { return shown<FittedLabel>(row); }

    Model model;
    Row row{"Top", binding(model.length), [this] { return model.most.get(); }};
    NotificationCount notifications{model};
    StepSlider& slider{*row.template findChild<StepSlider*>()};
};

using Rows = testing::Types<MarginSlider, ImageSizeInput>;
TYPED_TEST_SUITE(MillimetreRowTest, Rows, );

TYPED_TEST(MillimetreRowTest, hasLabelSliderAndValueInTheirFrames) {
    const auto labels = this->labels();
    ASSERT_EQ(labels.size(), 2U);
    EXPECT_EQ(labels[0]->text(), "Top:");
    EXPECT_EQ(labels[0]->geometry().left(), 0);
    EXPECT_EQ(labels[0]->width(), 55);
    EXPECT_EQ(labels[1]->width(), 55);
    EXPECT_EQ(labels[1]->geometry().right(), 269);
    EXPECT_TRUE(labels[1]->alignment() & Qt::AlignRight);
    EXPECT_GT(this->slider.x(), labels[0]->geometry().right());
    EXPECT_LT(this->slider.geometry().right(), labels[1]->x());
    EXPECT_EQ(accessibleName(&this->slider), "Top");
}

TYPED_TEST(MillimetreRowTest, showsOneDecimal) {
    EXPECT_EQ(this->value(), "7.0 mm");
    this->model.length = 12.5;
    EXPECT_EQ(this->value(), "12.5 mm");
    this->model.length = 7.25;
    EXPECT_EQ(this->value(), "7.2 mm");
    this->model.length = 1234.56;
    EXPECT_EQ(this->value(), "1234.6 mm");
}

TYPED_TEST(MillimetreRowTest, isBoundBothWays) {
    QTest::keyClick(&this->slider, Qt::Key_Right);
    EXPECT_EQ(this->model.length.get(), 7.5);
    EXPECT_EQ(this->notifications.taken(), 1);
    EXPECT_EQ(this->value(), "7.5 mm");
    this->model.length = 20;
    refreshed();
    EXPECT_EQ(this->slider.scale().valueAt(this->slider.value()), 20);
    EXPECT_EQ(this->notifications.taken(), 1);
}

TYPED_TEST(MillimetreRowTest, doesNotHoldTheValueToTheRange) {
    this->model.length = 45;
    this->notifications.taken();
    this->model.most = 10;
    EXPECT_EQ(this->model.length.get(), 45);
    EXPECT_EQ(this->value(), "45.0 mm");
    EXPECT_EQ(this->slider.value(), this->slider.maximum());
    EXPECT_EQ(this->notifications.taken(), 1) << "that of the maximum";
}

} // namespace
} // namespace lumivert
