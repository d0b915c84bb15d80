#include "views/controls/Picker.h"

#include "views/controls/Appearance.h"
#include "views/controls/ControlFixture.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QImage>
#include <QPushButton>
#include <QToolTip>
#include <QWheelEvent>

namespace lumivert {
namespace {

struct Model : ObservableObject {
    Published<std::vector<PickerItem>> items{this, {{"a", "Alpha"}, {"b", "Beta"}, {"c", "Gamma"}}};
    Published<std::string> selection{this, "b"};
    Published<ScalingMode> scaling{this, ScalingMode::fitToPage};
};

class PickerTest : public testing::Test {
protected:
    Model model;
    Picker picker{[this] { return model.items.get(); }, binding(model.selection)};
    NotificationCount notifications{model};

    PickerTest() { picker.refresh(); }

    void set(std::vector<PickerItem> items, const std::string& selection) {
        model.items = std::move(items);
        model.selection = selection;
        notifications.taken();
        picker.refresh();
    }
};

TEST_F(PickerTest, showsItemsAndSelectionWithoutWriting) {
    ASSERT_EQ(picker.count(), 3);
    EXPECT_EQ(picker.itemText(2), "Gamma");
    EXPECT_EQ(picker.currentText(), "Beta");
    set({{"x", "Xi"}, {"b", "Beta, renamed"}}, "b");
    EXPECT_EQ(picker.count(), 2);
    EXPECT_EQ(picker.currentText(), "Beta, renamed");
    EXPECT_EQ(notifications.taken(), 0);
}

TEST_F(PickerTest, writesAPersonsChoiceOnce) {
    QTest::keyClick(&picker, Qt::Key_Down);
    EXPECT_EQ(model.selection.get(), "c");
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_F(PickerTest, doesNotWriteTheSameChoiceAgain) {
    emit picker.activated(1);
    EXPECT_EQ(notifications.taken(), 0);
}

TEST_F(PickerTest, showsASelectionThatItsListLacksAsAnEmptyChoice) {
    set({{"a", "Alpha"}}, "gone");
    EXPECT_EQ(picker.currentIndex(), -1);
    EXPECT_EQ(picker.currentText(), "");
    EXPECT_EQ(model.selection.get(), "gone");
    set({{"a", "Alpha"}, {"gone", "Back"}}, "gone");
    EXPECT_EQ(picker.currentText(), "Back");
}

TEST_F(PickerTest, isEmptyWithoutItems) {
    set({}, "b");
    EXPECT_EQ(picker.count(), 0);
    EXPECT_EQ(picker.currentIndex(), -1);
}

TEST_F(PickerTest, showsTheFirstOfTwoItemsOfOneId) {
    set({{"a", "First"}, {"a", "Second"}}, "a");
    EXPECT_EQ(picker.currentText(), "First");
    picker.setCurrentIndex(1);
    emit picker.activated(1);
    EXPECT_EQ(picker.currentText(), "First");
    EXPECT_EQ(notifications.taken(), 0);
}

TEST_F(PickerTest, keepsItsEntriesWhileTheListIsTheSame) {
    picker.setItemData(0, "mark", Qt::UserRole);
    model.items = model.items.get();
    picker.refresh();
    EXPECT_EQ(picker.itemData(0, Qt::UserRole).toString(), "mark");
}

TEST_F(PickerTest, isNotTurnedByTheWheelInPassing) {
    QWheelEvent event(QPointF(5, 5), picker.mapToGlobal(QPointF(5, 5)), {}, {0, -120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&picker, &event);
    EXPECT_EQ(model.selection.get(), "b");
    EXPECT_FALSE(event.isAccepted()) << "the panel scrolls";
}

TEST_F(PickerTest, takesNoMoreRoomForALongName) {
    const int before = picker.minimumSizeHint().width();
    const QString longName = QString("Heavyweight").repeated(40);
    set({{"a", longName.toStdString()}}, "a");
    EXPECT_EQ(picker.minimumSizeHint().width(), before);
    EXPECT_EQ(picker.itemData(0, Qt::ToolTipRole).toString(), longName);

    picker.resize(150, picker.sizeHint().height());
    picker.show();
    QHelpEvent help(QEvent::ToolTip, {5, 5}, picker.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&picker, &help);
    EXPECT_EQ(QToolTip::text(), longName);
    QToolTip::hideText();
}

TEST_F(PickerTest, showsNamesAsTheyAre) {
    set({{"a", "<b>A & B</b>"}}, "a");
    EXPECT_EQ(picker.currentText(), "<b>A & B</b>");
    EXPECT_EQ(picker.itemData(0, Qt::ToolTipRole).toString(), "&lt;b&gt;A &amp; B&lt;/b&gt;");
}

TEST_F(PickerTest, givesAssistiveTechnologyItsLabelAsNameAndItsChoiceAsText) {
    picker.setAccessibleName("Size");
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(&picker);
    EXPECT_EQ(interface->text(QAccessible::Name), "Size");
    EXPECT_EQ(interface->text(QAccessible::Value), "Beta");
    EXPECT_EQ(interface->role(), QAccessible::ComboBox);
    QAccessibleTextInterface* text = interface->textInterface();
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->text(0, text->characterCount()), "Beta");
}

TEST_F(PickerTest, isOperatedByAssistiveTechnology) {
    picker.show();
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(&picker);
    ASSERT_EQ(interface->childCount(), 1);
    QAccessibleInterface* list = interface->child(0);
    ASSERT_EQ(list->childCount(), 3);
    EXPECT_EQ(list->child(2)->text(QAccessible::Name), "Gamma");
    EXPECT_EQ(interface->indexOfChild(list), 0);
    QAccessibleActionInterface* actions = interface->actionInterface();
    ASSERT_TRUE(actions->actionNames().contains(QAccessibleActionInterface::pressAction()));
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(picker.view()->isVisible());
    EXPECT_TRUE(interface->state().expanded);
    QTest::keyClick(picker.view(), Qt::Key_Down);
    QTest::keyClick(picker.view(), Qt::Key_Return);
    EXPECT_EQ(model.selection.get(), "c");
}

TEST(ChoiceItems, areTheCasesInTheirOrder) {
    EXPECT_EQ(choiceItems<ScalingMode>(),
              (std::vector<PickerItem>{{"Fit to Page", "Fit to Page"},
                                       {"Fill Page (crop)", "Fill Page (crop)"},
                                       {"Actual Size", "Actual Size"}}));
}

TEST(ChoiceBinding, takesRawValuesAndNothingElse) {
    Model model;
    const Binding<std::string> scaling = choiceBinding(model.scaling);
    scaling.set("Actual Size");
    EXPECT_EQ(model.scaling.get(), ScalingMode::actualSize);
    scaling.set("actual size");
    EXPECT_EQ(model.scaling.get(), ScalingMode::actualSize);
    EXPECT_EQ(scaling.get(), "Actual Size");
}

struct SegmentsModel : ObservableObject {
    Published<std::string> selection{this, "b"};
};

class SegmentedPickerTest : public testing::Test {
protected:
    SegmentsModel model;
    SegmentedPicker picker{{{"a", "Alpha"}, {"b", "Beta"}}, binding(model.selection)};
    NotificationCount notifications{model};
    QList<QPushButton*> buttons = picker.findChildren<QPushButton*>();

    SegmentedPickerTest() { picker.refresh(); }
};

TEST_F(SegmentedPickerTest, showsTheSelectionWithoutWriting) {
    ASSERT_EQ(buttons.size(), 2);
    EXPECT_EQ(buttons[0]->text(), "Alpha");
    EXPECT_FALSE(buttons[0]->isChecked());
    EXPECT_TRUE(buttons[1]->isChecked());
    model.selection = "a";
    picker.refresh();
    EXPECT_TRUE(buttons[0]->isChecked());
    EXPECT_FALSE(buttons[1]->isChecked());
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_F(SegmentedPickerTest, writesAPersonsChoiceOnce) {
    buttons[0]->click();
    EXPECT_EQ(model.selection.get(), "a");
    EXPECT_EQ(notifications.taken(), 1);
    buttons[0]->click();
    EXPECT_TRUE(buttons[0]->isChecked()) << "one is always down";
    EXPECT_EQ(notifications.taken(), 0);
}

TEST_F(SegmentedPickerTest, isARowOfRadioButtonsForAssistiveTechnology) {
    for (QPushButton* button : buttons) {
        QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(button);
        EXPECT_EQ(interface->role(), QAccessible::RadioButton);
        EXPECT_EQ(interface->state().checked, button->isChecked());
        EXPECT_EQ(interface->parent()->role(), QAccessible::Grouping);
    }
}

TEST_F(SegmentedPickerTest, isOperatedByAssistiveTechnology) {
    QAccessible::queryAccessibleInterface(buttons[0])
        ->actionInterface()
        ->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(model.selection.get(), "a");
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_F(SegmentedPickerTest, fillsTheChosenSegment) {
    picker.resize(200, picker.sizeHint().height());
    picker.show();
    const auto ground = [this](int index) {
        const QRect place = buttons[index]->geometry();
        return picker.grab().toImage().pixelColor(place.left() + 4, place.center().y());
    };
    EXPECT_EQ(ground(1), accentFill(picker.palette()));
    EXPECT_EQ(ground(0), picker.palette().color(QPalette::Button));
    buttons[0]->click();
    EXPECT_EQ(ground(0), accentFill(picker.palette()));
    EXPECT_EQ(ground(1), picker.palette().color(QPalette::Button));
}

} // namespace
} // namespace lumivert
