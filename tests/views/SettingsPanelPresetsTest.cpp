#include "views/PanelFixture.h"
#include "views/PresetRow.h"
#include "views/controls/Appearance.h"

#include <QDialog>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>

#include <tuple>

namespace lumivert {
namespace {

class PresetsTest : public PanelTest {
protected:
    /// The shown "Save Preset" alert; null when there is none.
    QDialog* alert() {
        for (QDialog* found : panel->findChildren<QDialog*>())
            if (found->isVisible())
                return found;
        return nullptr;
    }
    QLineEdit* field() { return alert()->findChild<QLineEdit*>(); }
    /// Opens the alert, types `name` and presses the button of that name.
    void answer(const QString& name, const QString& buttonName) {
        button("Save Current Settings")->click();
        ASSERT_NE(alert(), nullptr);
        field()->insert(name); // as pasted: a tab key would leave the field
        control<QPushButton>(*alert(), buttonName)->click();
    }
    std::vector<std::string> names() {
        std::vector<std::string> found;
        for (const PrintPreset& preset : pm->presets.get())
            found.push_back(preset.name);
        return found;
    }
};

TEST_F(PresetsTest, saysWhenThereAreNone) {
    EXPECT_NE(textShown(*panel, "No saved presets"), nullptr);
    pm->savePreset("One");
    EXPECT_EQ(textShown(*panel, "No saved presets"), nullptr);
    pm->deletePreset(pm->presets->front());
    EXPECT_NE(textShown(*panel, "No saved presets"), nullptr);
}

TEST_F(PresetsTest, haveARowEachInTheirOrder) {
    pm->savePreset("Second & <b>bold</b>");
    pm->savePreset("First");
    QStringList found;
    for (QAbstractButton* row : shown<QAbstractButton>(*control<QGroupBox>(*panel, "Presets")))
        found << accessibleName(row);
    EXPECT_EQ(found.join(", "), "Second & <b>bold</b>, Delete Second & <b>bold</b>, First, "
                                "Delete First, Save Current Settings");
    QAccessibleInterface* row = QAccessible::queryAccessibleInterface(button("First"));
    EXPECT_EQ(row->text(QAccessible::Description), "A4 · T5 B5 L5 R5mm · Fit to Page");
}

TEST_F(PresetsTest, areAppliedByAClick) {
    pm->borderless = true;
    pm->savePreset("Borderless one");
    pm->borderless = false;
    QTest::mouseClick(button("Borderless one"), Qt::LeftButton);
    EXPECT_TRUE(pm->borderless);
}

TEST_F(PresetsTest, areNotAppliedByAClickBesideTheirText) {
    pm->borderless = true;
    pm->savePreset("One");
    pm->borderless = false;
    QApplication::processEvents();
    QAbstractButton* preset = button("One");
    QWidget* row = preset->parentWidget();
    const auto clickAt = [&](int x) {
        const QPoint at(x, row->height() / 2);
        QWidget* under = row->childAt(at);
        QTest::mouseClick(under ? under : row, Qt::LeftButton, {},
                          under ? under->mapFrom(row, at) : at);
    };
    const int beside = preset->geometry().right() + 1;
    const int bin = button("Delete One")->geometry().left();
    ASSERT_GT(bin - beside, 40);
    for (const int x : {beside, (beside + bin) / 2, bin - 1})
        clickAt(x);
    EXPECT_FALSE(pm->borderless);
    clickAt(beside - 2);
    EXPECT_TRUE(pm->borderless);
}

TEST_F(PresetsTest, showTheirNameAndBelowItTheirSummary) {
    pm->margins = Margins{.top = 12.5, .bottom = 5, .left = 5, .right = 5};
    pm->savePreset("One");
    pm->savePreset("A name so long that no column of this width could ever show all of it");
    QApplication::processEvents();
    const PrintPreset& preset = pm->presets->front();
    QAbstractButton* row = button("One");
    // Painted once more by hand, in its two fonts and colours, with 2 between the lines.
    QImage expected(row->size(), QImage::Format_RGB32);
    expected.fill(row->palette().color(QPalette::Window));
    QPainter painter(&expected);
    int top = 0;
    for (const auto& [line, size, tone] :
         {std::tuple(preset.name, TextSize::callout, Tone::primary),
          {presetSummary(preset), TextSize::caption, Tone::secondary}}) {
        const QFont font = fontFor(size, row->font());
        painter.setFont(font);
        painter.setPen(colorFor(tone, row->palette()));
        const int height = QFontMetrics(font).height();
        painter.drawText(QRect(presetRowOverhang, top, 1000, height),
                         Qt::AlignLeft | Qt::AlignVCenter, QString::fromStdString(line));
        top += height + 2;
    }
    painter.end();
    QImage shown(row->size(), QImage::Format_RGB32);
    shown.fill(row->palette().color(QPalette::Window));
    row->render(&shown, {}, {}, QWidget::DrawChildren);
    EXPECT_EQ(shown, expected);
    EXPECT_EQ(row->height(), top - 2);

    QAbstractButton* longOne = button(QString::fromStdString(pm->presets->back().name));
    QAbstractButton* bin = button("Delete " + QString::fromStdString(pm->presets->back().name));
    EXPECT_LE(longOne->geometry().right(), bin->geometry().left());
    EXPECT_EQ(bin->mapTo(panel.get(), QPoint()).x(),
              button("Delete One")->mapTo(panel.get(), QPoint()).x());
}

TEST_F(PresetsTest, refreshThePanelOnceWhenTheyAreApplied) {
    load({600, 400});
    const auto image = std::dynamic_pointer_cast<const fakes::FakeImage>(pm->image.get());
    fakes.files.files["/p.icc"] = "profile P";
    pm->availableICCProfiles =
        std::vector<ICCProfile>{printerManagedProfile(), {"p", "P", "/p.icc", false}};
    pm->selectedICCProfileID = "p";
    pm->renderingIntent = RenderingIntent::saturation;
    pm->borderless = true;
    pm->savePreset("One");
    pm->selectedICCProfileID = "printer_managed";
    pm->renderingIntent = RenderingIntent::perceptual;
    pm->borderless = false;
    refreshed();
    fakes.dispatcher.runMain();
    const std::size_t proofs = image->proofs.size();
    int refreshes = 0;
    whenRefreshed(panel->widget(), [&] { ++refreshes; });
    NotificationCount notifications(*pm);
    button("One")->click();
    fakes.dispatcher.runMain();
    QApplication::processEvents();
    EXPECT_GT(notifications.taken(), 10);
    EXPECT_EQ(refreshes, 1);
    EXPECT_EQ(image->proofs.size(), proofs + 1);
    EXPECT_EQ(picker("Rendering")->currentText(), "Saturation");
}

TEST_F(PresetsTest, goAtOnceByTheirBin) {
    pm->savePreset("Same");
    pm->savePreset("Other");
    QTest::mouseClick(button("Delete Same"), Qt::LeftButton);
    EXPECT_EQ(names(), std::vector<std::string>{"Other"});
    EXPECT_EQ(button("Same"), nullptr);
    EXPECT_NE(button("Other"), nullptr);
    QTest::mouseClick(button("Delete Other"), Qt::LeftButton);
    EXPECT_TRUE(names().empty());
}

TEST_F(PresetsTest, showTheTrashIconAndCanBeReachedByKeys) {
    pm->savePreset("One");
    EXPECT_FALSE(button("Delete One")->icon().isNull());
    EXPECT_EQ(button("Delete One")->toolTip(), "Delete One");
    EXPECT_TRUE(button("One")->focusPolicy() & Qt::TabFocus);
    EXPECT_TRUE(button("Delete One")->focusPolicy() & Qt::TabFocus);
    QTest::keyClick(button("Delete One"), Qt::Key_Space);
    EXPECT_TRUE(names().empty());
}

TEST_F(PresetsTest, leaveTheRingAroundTheirBinToTheWindow) {
    pm->savePreset("One");
    QApplication::setStyle("Windows");
    panel->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.get()));
    QAbstractButton* bin = button("Delete One");
    const QImage before = bin->grab().toImage();
    bin->setFocus(Qt::TabFocusReason);
    EXPECT_TRUE(bin->hasFocus());
    EXPECT_EQ(bin->grab().toImage(), before);
    QApplication::setStyle("Fusion");
}

TEST_F(PresetsTest, areAskedForByAnAlert) {
    button("Save Current Settings")->click();
    EXPECT_TRUE(pm->showSavePreset);
    ASSERT_NE(alert(), nullptr);
    EXPECT_EQ(accessibleName(alert()), "Save Preset");
    EXPECT_NE(textShown(*alert(), "Save Preset"), nullptr);
    EXPECT_NE(textShown(*alert(), "Enter a name for this preset"), nullptr);
    EXPECT_EQ(field()->placeholderText(), "Preset name");
    EXPECT_EQ(field()->text(), "");
    EXPECT_TRUE(control<QPushButton>(*alert(), "Save")->isDefault());
}

TEST_F(PresetsTest, areSavedUnderTheNameAsTyped) {
    answer("  Glossy A4\t", "Save");
    EXPECT_EQ(names(), std::vector<std::string>{"  Glossy A4\t"});
    EXPECT_FALSE(pm->showSavePreset);
    EXPECT_EQ(alert(), nullptr);
    button("Save Current Settings")->click();
    EXPECT_EQ(field()->text(), "") << "cleared by saving";
}

TEST_F(PresetsTest, areNotSavedUnderBlanksWhichStayForTheNextTime) {
    answer(" \t ", "Save");
    EXPECT_TRUE(names().empty());
    EXPECT_FALSE(pm->showSavePreset);
    button("Save Current Settings")->click();
    EXPECT_EQ(field()->text(), " \t ");
    field()->setText("\u00a0");
    control<QPushButton>(*alert(), "Save")->click();
    EXPECT_EQ(names(), std::vector<std::string>{"\u00a0"}) << "which is no space and no tab";
}

TEST_F(PresetsTest, areForgottenByCancel) {
    answer("Not this one", "Cancel");
    EXPECT_TRUE(names().empty());
    EXPECT_FALSE(pm->showSavePreset);
    button("Save Current Settings")->click();
    EXPECT_EQ(field()->text(), "");
}

TEST_F(PresetsTest, areSavedByReturn) {
    button("Save Current Settings")->click();
    QTest::keyClicks(field(), "By key");
    QTest::keyClick(field(), Qt::Key_Return);
    EXPECT_EQ(names(), std::vector<std::string>{"By key"});
}

TEST_F(PresetsTest, keepWhatIsTypedWhenCodeClosesTheAlert) {
    button("Save Current Settings")->click();
    QTest::keyClicks(field(), "half a na");
    pm->showSavePreset = false;
    EXPECT_EQ(alert(), nullptr);
    EXPECT_TRUE(names().empty());
    pm->showSavePreset = true;
    EXPECT_EQ(field()->text(), "half a na");
}

} // namespace
} // namespace lumivert
