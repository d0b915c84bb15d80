#pragma once

#include "views/controls/Buttons.h"
#include "views/controls/Focus.h"
#include "views/controls/Labels.h"
#include "views/controls/Picker.h"
#include "views/controls/Refresh.h"

#include <QLayout>

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <vector>

// A view reads like what it shows, nested from top to bottom. Each function makes a real widget at
// once, without a parent; the one around it takes it over. Nothing here is stored. The widgets
// follow the model once keepFresh is called on the outermost.
namespace lumivert {

using Children = std::initializer_list<QWidget*>;

/// Children from top to bottom, `spacing` between those that are shown. One of a fixed or maximum
/// width stands at the left, the others are stretched.
[[nodiscard]] QWidget* column(int spacing, Children children);
/// Children from left to right.
[[nodiscard]] QWidget* row(int spacing, Children children);
/// A titled box around a column; to assistive technology, the title describes the pickers in it.
[[nodiscard]] QWidget* group(const QString& title, int spacing, Children children);
/// Takes what room there is.
[[nodiscard]] QWidget* flexibleSpace();
[[nodiscard]] QWidget* divider();
/// `padding` above and below the child.
[[nodiscard]] QWidget* padded(int padding, QWidget* child);
/// The child, `overhang` further to the left than what stands above and below it in its group.
[[nodiscard]] QWidget* overhanging(int overhang, QWidget* child);

// What has a label stands beside it, or below it where both do not fit, or those of another row in
// the same group do not.

/// A field for a whole number from `least` to `most`, which also bound what is shown. Only a
/// person's change writes. The labels line up with those of pickers.
[[nodiscard]] QWidget* numberField(const QString& label, Binding<int> value, int least, int most);

/// A combo box; the labels of all pickers below one alignPickerLabels() line up. What `note` says
/// of the choice, if anything, is its tool tip, and told by assistive technology.
[[nodiscard]] QWidget* picker(const QString& label, std::function<std::vector<PickerItem>()> items,
                              Binding<std::string> selection, TextSource note = {});
/// A row of buttons.
[[nodiscard]] QWidget* segmentedPicker(const QString& label, std::vector<PickerItem> items,
                                       Binding<std::string> selection);

/// A picker over a published list of records, bound to the `id` of one, showing each one's name.
template <class Record>
[[nodiscard]] QWidget* picker(const QString& label, const Published<std::vector<Record>>& list,
                              Published<std::string>& selection, TextSource note = {}) {
    return picker(
        label,
        [&list] {
            std::vector<PickerItem> items;
            items.reserve(list.get().size());
            for (const Record& record : list.get())
                items.push_back({record.id, record.name});
            return items;
        },
        binding(selection), std::move(note));
}

/// A picker over the cases of a choice.
template <class Choice>
[[nodiscard]] QWidget* picker(const QString& label, Published<Choice>& choice) {
    return picker(label, choiceItems<Choice>, choiceBinding(choice));
}
template <class Choice>
[[nodiscard]] QWidget* segmentedPicker(const QString& label, Published<Choice>& choice) {
    return segmentedPicker(label, choiceItems<Choice>(), choiceBinding(choice));
}

/// Gives the labels of all pickers below `root` one width, and keeps it so when the font changes.
void alignPickerLabels(QWidget* root);

/// A row for each record of a published list, in its order, `spacing` between them. A row stays as
/// long as an equal record does; one that goes lives on, hidden, until the event loop is back: a
/// button of its own may be in the middle of a click.
template <class Record>
[[nodiscard]] QWidget* rows(int spacing, const Published<std::vector<Record>>& list,
                            std::function<QWidget*(const Record&)> makeRow) {
    using Row = std::pair<Record, QWidget*>;
    QWidget* holder = column(spacing, {});
    whenRefreshed(holder, [&list, makeRow = std::move(makeRow), holder,
                           shown = std::vector<Row>()]() mutable {
        if (std::ranges::equal(shown, list.get(), {}, &Row::first))
            return;
        std::vector<Row> gone = std::move(shown);
        shown.clear();
        for (const Record& record : list.get()) {
            const auto kept = std::ranges::find(gone, record, &Row::first);
            shown.emplace_back(record, kept == gone.end() ? makeRow(record) : kept->second);
            if (kept != gone.end())
                gone.erase(kept);
        }
        for (const auto& [record, widget] : gone) {
            holder->layout()->removeWidget(widget);
            widget->hide();
            widget->deleteLater();
        }
        for (const auto& [record, widget] : shown) {
            holder->layout()->removeWidget(widget);
            holder->layout()->addWidget(widget);
            widget->raise(); // so that they lie in the tree as they are shown
            widget->show();
            refreshTree(widget);
        }
        orderFocusAround(holder);
    });
    return holder;
}

} // namespace lumivert
