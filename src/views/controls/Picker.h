#pragma once

#include "model/Models.h"
#include "views/controls/Binding.h"

#include <QComboBox>

#include <functional>
#include <string>
#include <vector>

namespace lumivert {

/// One entry of a picker: what is stored and what is shown (UTF-8).
struct PickerItem {
    std::string id;
    std::string name;

    bool operator==(const PickerItem&) const = default;
};

/// A combo box over items, bound to the `id` of one. A selection that no item has shows as an empty
/// choice; of several items with one `id` the first shows. Only a person's choice of another item
/// writes. Names that do not fit are cut, and whole in the tooltip; the wheel turns it only while
/// it has the focus.
class Picker : public QComboBox {
    Q_OBJECT
public:
    Picker(std::function<std::vector<PickerItem>()> items, Binding<std::string> selection);

    /// Shows the items and the selection as they are now, without writing.
    void refresh();

    /// The width at which no name of an item is cut. It may be less, too.
    QSize sizeHint() const override;
    void showPopup() override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void choose(int index);
    void measureNames();
    /// Without the focus, around which the window draws a ring, and as from left to right.
    [[nodiscard]] QStyleOptionComboBox unmirrored() const;
    [[nodiscard]] QRect textPlace() const;
    [[nodiscard]] QString shownText() const;

    std::function<std::vector<PickerItem>()> m_items;
    Binding<std::string> m_selection;
    std::vector<PickerItem> m_shown;
    int m_longestName = 0;
};

/// A row of buttons of which one is down, bound like a Picker; for few and fixed items. They share
/// the width as their names need it; a name that still does not fit is cut, and whole in the
/// tooltip. Painted from the palette's roles as one control.
class SegmentedPicker : public QWidget {
    Q_OBJECT
public:
    SegmentedPicker(const std::vector<PickerItem>& items, Binding<std::string> selection);

    void refresh();

    /// The width at which no name is cut. It may be less, too.
    QSize sizeHint() const override;

private:
    struct Segment;
    std::vector<Segment*> m_segments;
    Binding<std::string> m_selection;
};

/// The cases of a choice in the order shown.
template <class Choice>
[[nodiscard]] std::vector<PickerItem> choiceItems() {
    std::vector<PickerItem> items;
    for (const Choice choice : allCases<Choice>())
        items.push_back({std::string(id(choice)), std::string(rawValue(choice))});
    return items;
}

/// A choice by its raw value; a text that is no case is not set.
template <class Choice>
[[nodiscard]] Binding<std::string> choiceBinding(Published<Choice>& property) {
    return {[&property] { return std::string(rawValue(property.get())); },
            [&property](const std::string& text) {
                if (const auto choice = fromRawValue<Choice>(text))
                    property = *choice;
            }};
}

} // namespace lumivert
