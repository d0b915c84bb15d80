#include "views/controls/SegmentedPicker.h"

#include "views/controls/Appearance.h"
#include "views/controls/ControlFixture.h"

#include <QImage>
#include <QPushButton>

namespace lumivert {
namespace {

struct Model : ObservableObject {
    Published<std::string> selection{this, "b"};
};

class SegmentedPickerTest : public testing::Test {
protected:
    Model model;
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
    }
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
