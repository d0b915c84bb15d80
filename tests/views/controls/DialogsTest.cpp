#include "views/controls/Dialogs.h"

#include "views/controls/Appearance.h"
#include "views/controls/ControlFixture.h"

#include <QDialog>
#include <QLineEdit>
#include <QProxyStyle>
#include <QPushButton>

#include <memory>

namespace lumivert {
namespace {

struct Model : ObservableObject {
    Published<bool> flag{this, false};
};

class PresentationTest : public testing::Test {
protected:
    PresentationTest() { window.show(); }

    void bind() {
        present(
            &window, model.flag,
            [this](QWidget* parent) {
                ++made;
                return dialog = alert(parent, "Title", "Message", "Accept");
            },
            [this](QDialog&, int result) {
                results.push_back(result);
                flagSeen = model.flag;
                if (onFinished)
                    onFinished();
            });
    }
    QPushButton* button(const QString& name) { return control<QPushButton>(*dialog, name); }

    Model model;
    NotificationCount notifications{model};
    QWidget window;
    QPointer<QDialog> dialog;
    int made = 0;
    std::vector<int> results;
    bool flagSeen = true;
    std::function<void()> onFinished;
};

TEST_F(PresentationTest, opensWithTheFlag) {
    bind();
    EXPECT_EQ(made, 0);
    model.flag = true;
    ASSERT_EQ(made, 1);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(dialog->windowModality(), Qt::WindowModal);
    model.flag = true;
    EXPECT_EQ(made, 1);
}

TEST_F(PresentationTest, opensForAFlagThatIsSetAlready) {
    model.flag = true;
    bind();
    EXPECT_EQ(made, 1);
}

TEST_F(PresentationTest, setsTheFlagBackOnceAndThenTellsTheAnswer) {
    bind();
    for (const char* answer : {"Accept", "Cancel"}) {
        model.flag = true;
        notifications.taken();
        button(answer)->click();
        EXPECT_FALSE(model.flag);
        EXPECT_FALSE(flagSeen);
        EXPECT_EQ(notifications.taken(), 1);
    }
    EXPECT_EQ(results, (std::vector<int>{QDialog::Accepted, QDialog::Rejected}));
}

TEST_F(PresentationTest, closesWhenCodeSetsTheFlagBack) {
    bind();
    model.flag = true;
    notifications.taken();
    const QPointer<QDialog> shownDialog = dialog;
    model.flag = false;
    EXPECT_FALSE(shownDialog->isVisible());
    EXPECT_EQ(notifications.taken(), 1) << "not set back a second time";
    EXPECT_TRUE(results.empty()) << "nobody answered";
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(shownDialog.isNull());
}

TEST_F(PresentationTest, escapeIsCancel) {
    bind();
    model.flag = true;
    QTest::keyClick(dialog.data(), Qt::Key_Escape);
    EXPECT_EQ(results, std::vector<int>{QDialog::Rejected});
    EXPECT_FALSE(model.flag);
}

TEST_F(PresentationTest, closingItsWindowIsCancel) {
    bind();
    model.flag = true;
    dialog->close();
    EXPECT_EQ(results, std::vector<int>{QDialog::Rejected});
    EXPECT_FALSE(model.flag);
}

TEST_F(PresentationTest, canBeOpenedAgainByItsAnswer) {
    bind();
    onFinished = [this] {
        onFinished = nullptr;
        model.flag = true;
    };
    model.flag = true;
    button("Accept")->click();
    EXPECT_EQ(made, 2);
    EXPECT_TRUE(model.flag);
    EXPECT_TRUE(dialog->isVisible());
}

TEST(Alert, isCalledByItsTitleAndShowsItsMessage) {
    const std::unique_ptr<QDialog> made(
        alert(nullptr, "Print", "A4\nGlossy & <b>more</b>", "Print"));
    EXPECT_EQ(made->windowTitle(), "Print");
    EXPECT_EQ(accessibleName(made.get()), "Print");
    EXPECT_NE(textShown(*made, "A4\nGlossy & <b>more</b>"), nullptr);
    auto* accept = control<QPushButton>(*made, "Print");
    EXPECT_TRUE(accept->isDefault());
    EXPECT_FALSE(control<QPushButton>(*made, "Cancel")->isDefault());
}

TEST(Alert, isAcceptedByReturn) {
    const std::unique_ptr<QDialog> made(alert(nullptr, "Print", "message", "Print"));
    made->show();
    QTest::keyClick(made.get(), Qt::Key_Return);
    EXPECT_EQ(made->result(), QDialog::Accepted);
    EXPECT_FALSE(made->isVisible());
}

TEST(Alert, isAcceptedByReturnInItsField) {
    auto* field = new QLineEdit(" typed before ");
    field->setPlaceholderText("Preset name");
    const std::unique_ptr<QDialog> made(alert(nullptr, "Save Preset", "message", "Save", field));
    made->show();
    EXPECT_EQ(field->text(), " typed before ");
    EXPECT_EQ(accessibleName(field), "Preset name");
    EXPECT_EQ(made->focusWidget(), field);
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(made->result(), QDialog::Accepted);
}

TEST(Alert, hasWhatIsTypedAtTheRightWhereTheProgramRunsFromRightToLeft) {
    QApplication::setLayoutDirection(Qt::RightToLeft);
    auto* field = new QLineEdit;
    const std::unique_ptr<QDialog> made(alert(nullptr, "Save Preset", "message", "Save", field));
    made->show();
    field->grab(); // the cursor finds its place in painting
    QApplication::setLayoutDirection(Qt::LeftToRight);
    EXPECT_GT(field->inputMethodQuery(Qt::ImCursorRectangle).toRect().right(), field->width() - 20);
}

TEST(Alert, tellsItsPlaceholderFromWhatIsTyped) {
    QPalette alike = darkPalette();
    alike.setColor(QPalette::PlaceholderText, alike.color(QPalette::Text));
    const WithPalette palette(alike);
    auto* field = new QLineEdit;
    const std::unique_ptr<QDialog> made(alert(nullptr, "Save Preset", "message", "Save", field));
    const auto color = [field](auto role) { return active(field->palette(), role); };
    EXPECT_NE(color(QPalette::PlaceholderText), color(QPalette::Text));
    EXPECT_GE(contrastRatio(color(QPalette::PlaceholderText), color(QPalette::Base)),
              leastContrast);
    const WithPalette light(QPalette(QColor(0xef, 0xef, 0xef)));
    EXPECT_GE(contrastRatio(color(QPalette::PlaceholderText), color(QPalette::Base)),
              leastContrast);
}

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
        plain->show();
        asking->show();
        QApplication::processEvents();
    }
    ~AlertTest() override { QApplication::setStyle("Fusion"); }

    static QLineEdit* fieldFor(const QString& placeholder) {
        auto* field = new QLineEdit;
        field->setPlaceholderText(placeholder);
        return field;
    }

    QLineEdit* field = fieldFor("Preset name");
    std::unique_ptr<QDialog> plain{alert(nullptr, "Print", "A4", "Print")};
    std::unique_ptr<QDialog> asking{
        alert(nullptr, "Save Preset", "Enter a name for this preset", "Save", field)};
};

TEST_F(AlertTest, hasItsButtonsInOneOrderOnEveryDesktop) {
    EXPECT_LT(control<QPushButton>(*plain, "Print")->x(),
              control<QPushButton>(*plain, "Cancel")->x());
    EXPECT_LT(control<QPushButton>(*asking, "Save")->x(),
              control<QPushButton>(*asking, "Cancel")->x());
}

TEST_F(AlertTest, isWalkedThroughInTheOrderShown) {
    asking->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(asking.get()));
    QStringList names;
    for (int i = 0; i < 3; ++i) {
        names << accessibleName(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(names.join(", "), "Preset name, Save, Cancel");
}

TEST_F(AlertTest, acceptsByReturnAndIsCancelledByEscape) {
    EXPECT_TRUE(control<QPushButton>(*plain, "Print")->isDefault());
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(asking->result(), QDialog::Accepted);
    asking->show();
    QTest::keyClick(asking.get(), Qt::Key_Escape);
    EXPECT_FALSE(asking->isVisible());
    EXPECT_EQ(asking->result(), QDialog::Rejected);
    control<QPushButton>(*asking, "Cancel")->setFocus();
    asking->setResult(QDialog::Accepted);
    asking->show();
    QTest::keyClick(control<QPushButton>(*asking, "Cancel"), Qt::Key_Return);
    EXPECT_EQ(asking->result(), QDialog::Rejected) << "Return presses what has the focus";
    plain->setResult(QDialog::Accepted);
    control<QPushButton>(*plain, "Cancel")->click();
    EXPECT_EQ(plain->result(), QDialog::Rejected);
}

} // namespace
} // namespace lumivert
