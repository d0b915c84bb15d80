#include "views/controls/MillimetreRow.h"

#include "views/controls/ControlFixture.h"
#include "views/controls/Refresh.h"
#include "views/controls/StepSlider.h"

#include <QLineEdit>

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
        millimetreRow("Top", "margin in millimetres", binding(model.length), [] {
            return StepScale{0, 50, 0.5};
        })};
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

} // namespace
} // namespace lumivert
