#include "views/controls/Alert.h"

#include "views/controls/ControlFixture.h"

#include <QLineEdit>
#include <QProxyStyle>
#include <QPushButton>

namespace lumivert {
namespace {

/// A desktop that has the button that accepts at the right.
class AcceptAtTheRight : public QProxyStyle {
public:
    AcceptAtTheRight()
        : QProxyStyle("Fusion") {}

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* more) const override {
        constexpr int gnome = 3; // QDialogButtonBox::GnomeLayout
        return hint == SH_DialogButtonLayout ? gnome
                                             : QProxyStyle::styleHint(hint, option, widget, more);
    }
};

class AlertTest : public testing::Test {
protected:
    AlertTest() {
        QApplication::setStyle(new AcceptAtTheRight);
        plain.show();
        field = asking.addField("Preset name", "");
        asking.show();
        QApplication::processEvents();
    }
    ~AlertTest() override { QApplication::setStyle("Fusion"); }

    Alert plain{nullptr, "Print", "A4", "Print"};
    Alert asking{nullptr, "Save Preset", "Enter a name for this preset", "Save"};
    QLineEdit* field = nullptr;
};

TEST_F(AlertTest, hasItsButtonsInOneOrderOnEveryDesktop) {
    EXPECT_LT(control<QPushButton>(plain, "Print")->x(),
              control<QPushButton>(plain, "Cancel")->x());
    EXPECT_LT(control<QPushButton>(asking, "Save")->x(),
              control<QPushButton>(asking, "Cancel")->x());
}

TEST_F(AlertTest, isWalkedThroughInTheOrderShown) {
    asking.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&asking));
    QStringList names;
    for (int i = 0; i < 3; ++i) {
        names << accessibleName(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(names.join(", "), "Preset name, Save, Cancel");
}

TEST_F(AlertTest, acceptsByReturnAndIsCancelledByEscape) {
    EXPECT_TRUE(control<QPushButton>(plain, "Print")->isDefault());
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(asking.result(), QDialog::Accepted);
    asking.show();
    QTest::keyClick(&asking, Qt::Key_Escape);
    EXPECT_FALSE(asking.isVisible());
    EXPECT_EQ(asking.result(), QDialog::Rejected);
    plain.setResult(QDialog::Accepted);
    control<QPushButton>(plain, "Cancel")->click();
    EXPECT_EQ(plain.result(), QDialog::Rejected);
}

} // namespace
} // namespace lumivert
