#include "views/controls/MillimetreRow.h"

#include "views/controls/ControlFixture.h"
#include "views/controls/Refresh.h"
#include "views/controls/StepSlider.h"

#include <QLineEdit>

#include <cmath>
#include <memory>

namespace lumivert {
namespace {

struct Model : ObservableObject {
    Published<double> length{this, 7.25};
};

class MillimetreRowTest : public testing::Test {
protected:
    MillimetreRowTest() {
        row.resize(268, row.sizeHint().height());
        keepFresh(&row, model);
        row.show();
        row.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&row));
    }
    QLabel* number() { return row.findChildren<QLabel*>().back(); }
    QLineEdit* field() {
        const auto fields = shown<QLineEdit>(row);
        return fields.empty() ? nullptr : fields.front();
    }
    void type(const QString& text) {
        number()->setFocus();
        QTest::keyClick(number(), Qt::Key_Return);
        ASSERT_NE(field(), nullptr);
        QTest::keyClicks(field(), text);
    }

    Model model;
    std::unique_ptr<QWidget> made{
        marginSlider("Top", "margin in millimetres", binding(model.length), [] { return 50.0; })};
    QWidget& row = *made;
};

TEST_F(MillimetreRowTest, tellsAssistiveTechnologyWhichLengthItIs) {
    QAccessibleInterface* slider =
        QAccessible::queryAccessibleInterface(row.findChild<StepSlider*>());
    EXPECT_EQ(slider->text(QAccessible::Name), "Top");
    EXPECT_EQ(slider->text(QAccessible::Description), "margin in millimetres");
}

TEST_F(MillimetreRowTest, carriesTheExactValueInItsToolTip) {
    EXPECT_EQ(number()->toolTip(), "7.25 mm");
    model.length = 215.9;
    refreshed();
    EXPECT_EQ(number()->toolTip(), "215.9 mm");
}

TEST_F(MillimetreRowTest, hasItsTextsInLineWithItsSlider) {
    for (const double points : {8.0, 10.0, 16.0}) {
        const WithFontSize font(points);
        row.resize(268, row.sizeHint().height());
        QApplication::processEvents();
        for (QLabel* label : shown<QLabel>(row)) {
            const QImage image = label->grab().toImage();
            int first = image.height();
            int last = 0;
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < 8; ++x) // a capital, and no more
                    if (const int from = label->text() == "Top:" ? 0 : image.width() - 30;
                        qGray(image.pixel(from + x, y)) < qGray(image.pixel(0, 0)) - 90) {
                        first = std::min(first, y);
                        last = std::max(last, y);
                    }
            const double middle = label->y() + (first + last + 1) / 2.0;
            const QRect slider = row.findChild<StepSlider*>()->geometry();
            EXPECT_NEAR(middle, slider.y() + slider.height() / 2.0, 1.5)
                << label->text().toStdString() << " at " << points;
        }
    }
}

TEST_F(MillimetreRowTest, takesALengthThatIsTyped) {
    QTest::mouseDClick(number(), Qt::LeftButton);
    ASSERT_NE(field(), nullptr);
    EXPECT_EQ(field()->text(), "7.25");
    EXPECT_TRUE(field()->hasFocus());
    for (const auto& [typed, taken] :
         std::vector<std::pair<QString, double>>{{"215.9", 215.9}, {"12,5 mm", 12.5}, {"0", 0}}) {
        type(typed);
        QTest::keyClick(field(), Qt::Key_Return);
        EXPECT_EQ(model.length.get(), taken);
        EXPECT_EQ(field(), nullptr);
        EXPECT_TRUE(number()->hasFocus());
    }
}

TEST_F(MillimetreRowTest, leavesTheValueAloneOnEscapeAndOnWhatIsNoLength) {
    type("9");
    QTest::keyClick(field(), Qt::Key_Escape);
    EXPECT_EQ(field(), nullptr);
    EXPECT_EQ(model.length.get(), 7.25);
    for (const QString typed : {"-1", "nan", "inf", "1e9", "x", " "}) {
        type(typed);
        QTest::keyClick(field(), Qt::Key_Return);
        EXPECT_EQ(model.length.get(), 7.25) << typed.toStdString();
    }
}

struct TwoLengths : ObservableObject {
    Published<double> length{this, 7};
    Published<double> most{this, 50};
};

using MakeRow = QWidget* (*)(const QString&, const QString&, const Binding<double>&,
                             std::function<double()>);

class EachRowTest : public testing::TestWithParam<MakeRow> {
protected:
    EachRowTest() {
        row.resize(270, row.sizeHint().height());
        keepFresh(&row, model);
        row.show();
        QApplication::processEvents();
    }

    QString value() { return labels().back()->text(); }
    std::vector<QLabel*> labels() { return shown<QLabel>(row); }

    TwoLengths model;
    std::unique_ptr<QWidget> made{GetParam()("Top", "of the test", binding(model.length),
                                             [this] { return model.most.get(); })};
    QWidget& row = *made;
    NotificationCount notifications{model};
    StepSlider& slider{*row.findChild<StepSlider*>()};
};
INSTANTIATE_TEST_SUITE_P(, EachRowTest, testing::Values<MakeRow>(marginSlider, imageSizeInput));

TEST_P(EachRowTest, hasLabelSliderAndValueInTheirFrames) {
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

TEST_P(EachRowTest, showsOneDecimal) {
    EXPECT_EQ(value(), "7.0 mm");
    model.length = 12.5;
    EXPECT_EQ(value(), "12.5 mm");
    model.length = 7.25;
    EXPECT_EQ(value(), "7.2 mm");
    model.length = 1234.56;
    EXPECT_EQ(value(), "1234.6 mm");
}

TEST_P(EachRowTest, isBoundBothWays) {
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(model.length.get(), 7.5);
    EXPECT_EQ(notifications.taken(), 1);
    EXPECT_EQ(value(), "7.5 mm");
    model.length = 20;
    refreshed();
    EXPECT_EQ(slider.scale().valueAt(slider.value()), 20);
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_P(EachRowTest, doesNotHoldTheValueToTheRange) {
    model.length = 45;
    notifications.taken();
    model.most = 10;
    EXPECT_EQ(model.length.get(), 45);
    EXPECT_EQ(value(), "45.0 mm");
    EXPECT_EQ(slider.value(), slider.maximum());
    EXPECT_EQ(notifications.taken(), 1) << "that of the maximum";
}

StepScale scaleOf(QWidget* made) {
    const std::unique_ptr<QWidget> row(made);
    refreshTree(row.get());
    return row->findChild<StepSlider*>()->scale();
}

TEST(MarginSlider, reachesItsMaximumButAlwaysAHalf) {
    TwoLengths model;
    struct Row {
        double max;
        double end;
    };
    for (const Row& row : std::vector<Row>{{50, 50}, {0, 0.5}, {0.3, 0.5}, {-20, 0.5}, {0.5, 0.5}})
        EXPECT_EQ(
            scaleOf(marginSlider("Top", {}, binding(model.length), [&row] { return row.max; })),
            (StepScale{0, row.end}))
            << row.max;
}

TEST(ImageSizeInput, goesFromOneToTheSheetsSide) {
    TwoLengths model;
    for (const double side : {297.0, 1.0})
        EXPECT_EQ(
            scaleOf(imageSizeInput("Width", {}, binding(model.length), [side] { return side; })),
            (StepScale{1, side}));
}

TEST(ImageSizeInputDeathTest, endsTheProgramForASheetBelowOneMillimetre) {
    TwoLengths model;
    for (const double side : {0.99, 0.0, -5.0, std::nan("")})
        EXPECT_EXIT(
            scaleOf(imageSizeInput("Width", {}, binding(model.length), [side] { return side; })),
            testing::ExitedWithCode(1), "Lumivert: ");
}

} // namespace
} // namespace lumivert
