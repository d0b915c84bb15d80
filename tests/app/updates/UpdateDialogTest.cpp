#include "app/updates/UpdateDialog.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <gtest/gtest.h>

namespace lumivert {
namespace {

using Attention = UpdateWindow::Attention;

const AvailableUpdate newer{"id", "1.0", "1.1", "<b>Finer</b> margins."};

class UpdateDialogTest : public testing::Test {
protected:
    void SetUp() override {
        dialog.onInstall = [this] { ++installs; };
        dialog.onDismiss = [this] { ++dismissals; };
    }
    QPushButton* button(const char* name) {
        return dialog.findChild<QPushButton*>(QString::fromLatin1(name));
    }
    QProgressBar* progress() { return dialog.findChild<QProgressBar*>(); }
    QPlainTextEdit* notes() { return dialog.findChild<QPlainTextEdit*>(); }
    bool says(const char* text) {
        for (const QLabel* label : dialog.findChildren<QLabel*>())
            if (label->isVisible() && label->text() == QString::fromUtf8(text))
                return true;
        return false;
    }

    int installs = 0;
    int dismissals = 0;
    UpdateDialog dialog;
};

TEST_F(UpdateDialogTest, isNotMadeBeforeItIsNeeded) {
    EXPECT_FALSE(dialog.isOpen());
    dialog.present(UpdateChecking{}, Attention::keep);
    EXPECT_FALSE(dialog.isOpen());
    EXPECT_TRUE(dialog.children().isEmpty());
    dialog.closeWindow();
}

TEST_F(UpdateDialogTest, opensOneWindowForAllStates) {
    dialog.present(UpdateChecking{}, Attention::toFront);
    ASSERT_TRUE(dialog.isOpen());
    EXPECT_FALSE(dialog.isModal());
    EXPECT_FALSE(dialog.testAttribute(Qt::WA_QuitOnClose));
    const auto buttons = dialog.findChildren<QPushButton*>();
    dialog.present(UpdateNotNeeded{"1.0"}, Attention::keep);
    dialog.closeWindow();
    EXPECT_FALSE(dialog.isOpen());
    dialog.present(newer, Attention::toFront);
    EXPECT_EQ(dialog.findChildren<QPushButton*>(), buttons);
    EXPECT_TRUE(dialog.isOpen());
}

TEST_F(UpdateDialogTest, comesToTheFront) {
    QWidget other;
    dialog.present(UpdateChecking{}, Attention::toFront);
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    dialog.present(UpdateChecking{}, Attention::toFront);
    EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
}

TEST_F(UpdateDialogTest, comesBackWhenItWasMinimised) {
    dialog.present(UpdateChecking{}, Attention::toFront);
    dialog.showMinimized();
    dialog.present(UpdateChecking{}, Attention::toFront);
    EXPECT_FALSE(dialog.isMinimized());
}

TEST_F(UpdateDialogTest, showsProgressOnlyWhileSomethingGoesOn) {
    dialog.present(UpdateChecking{}, Attention::toFront);
    EXPECT_TRUE(progress()->isVisible());
    EXPECT_EQ(progress()->maximum(), 0) << "busy without a measure";
    dialog.present(UpdateChecking{{UpdateActivity::working, 40}}, Attention::keep);
    EXPECT_EQ(progress()->maximum(), 100);
    EXPECT_EQ(progress()->value(), 40);
    dialog.present(UpdateNotNeeded{"1.0"}, Attention::keep);
    EXPECT_FALSE(progress()->isVisible());
    EXPECT_TRUE(says("Lumivert is up to date"));
}

TEST_F(UpdateDialogTest, offersToInstallAndPassesItOn) {
    dialog.present(newer, Attention::toFront);
    EXPECT_TRUE(says("Lumivert 1.1 is available"));
    EXPECT_EQ(button("dismiss")->text(), QStringLiteral("Later"));
    button("install")->click();
    EXPECT_EQ(installs, 1);
    EXPECT_TRUE(dialog.isOpen()) << "it closes only when it is told to";
    dialog.present(UpdateInstalling{"1.1", {}}, Attention::keep);
    EXPECT_FALSE(button("install")->isVisible());
}

TEST_F(UpdateDialogTest, showsTheChangesAsTheyAreWritten) {
    dialog.present(newer, Attention::toFront);
    EXPECT_TRUE(notes()->isVisible());
    EXPECT_TRUE(notes()->isReadOnly());
    EXPECT_EQ(notes()->toPlainText(), QStringLiteral("<b>Finer</b> margins."));
    for (const QLabel* label : dialog.findChildren<QLabel*>())
        EXPECT_TRUE(label->buddy() || label->textFormat() == Qt::PlainText);
    dialog.present(UpdateNotNeeded{"1.0"}, Attention::keep);
    EXPECT_FALSE(notes()->isVisible());
}

TEST_F(UpdateDialogTest, everyWayToCloseItIsADismissal) {
    dialog.present(newer, Attention::toFront);
    button("dismiss")->click();
    EXPECT_EQ(dismissals, 1);
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_EQ(dismissals, 2);
    static_cast<QWidget&>(dialog).close();
    EXPECT_EQ(dismissals, 3);
    EXPECT_EQ(installs, 0);
}

TEST_F(UpdateDialogTest, returnInstallsOnlyWhatAPersonAskedFor) {
    dialog.present(newer, Attention::quiet);
    EXPECT_TRUE(dialog.testAttribute(Qt::WA_ShowWithoutActivating));
    QTest::keyClick(&dialog, Qt::Key_Return);
    EXPECT_EQ(installs, 0);
    EXPECT_EQ(dismissals, 1);
    dialog.closeWindow();
    dialog.present(newer, Attention::toFront);
    QTest::keyClick(&dialog, Qt::Key_Return);
    EXPECT_EQ(installs, 1);
}

TEST_F(UpdateDialogTest, progressLeavesFocusAndSizeAlone) {
    dialog.present(UpdateInstalling{"1.1", {}}, Attention::toFront);
    dialog.resize(600, 400);
    QWidget* text = dialog.findChild<QLabel*>();
    text->setFocus();
    dialog.present(UpdateInstalling{"1.1", {UpdateActivity::working, 50}}, Attention::keep);
    EXPECT_EQ(dialog.size(), QSize(600, 400));
    EXPECT_FALSE(button("dismiss")->hasFocus());
}

TEST_F(UpdateDialogTest, everyControlHasAnAccessibleName) {
    dialog.present(newer, Attention::toFront);
    EXPECT_EQ(dialog.accessibleName(), QStringLiteral("Lumivert 1.1 is available"));
    EXPECT_EQ(notes()->accessibleName(), QStringLiteral("What changes"));
    EXPECT_FALSE(progress()->accessibleName().isEmpty());
    for (const QPushButton* one : dialog.findChildren<QPushButton*>())
        EXPECT_FALSE(one->text().isEmpty());
}

TEST_F(UpdateDialogTest, staysWhenItsActionsAreTakenAway) {
    dialog.present(newer, Attention::toFront);
    dialog.onInstall = dialog.onDismiss = [] {};
    button("install")->click();
    button("dismiss")->click();
    EXPECT_EQ(installs + dismissals, 0);
}

} // namespace
} // namespace lumivert
