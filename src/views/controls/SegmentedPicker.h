#pragma once

#include "views/controls/Picker.h"

#include <QWidget>

class QButtonGroup;

namespace lumivert {

/// A row of buttons of which one is down, bound like a Picker; for few and fixed items. They share
/// the width as their names need it; a name that still does not fit is cut, and whole in the
/// tooltip. Painted from the palette's roles as one control.
class SegmentedPicker : public QWidget {
    Q_OBJECT
public:
    SegmentedPicker(const std::vector<PickerItem>& items, Binding<std::string> selection,
                    QWidget* parent = nullptr);

    void refresh();

    /// The width at which no name is cut.
    [[nodiscard]] int neededWidth() const;

private:
    void shareWidth();

    std::vector<PickerItem> m_items;
    Binding<std::string> m_selection;
    QButtonGroup* m_buttons;
};

} // namespace lumivert
