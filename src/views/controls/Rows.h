#pragma once

#include "platform/Observable.h"
#include "views/controls/FocusOrder.h"
#include "views/controls/Refresh.h"

#include <QVBoxLayout>
#include <QWidget>

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace lumivert {

/// A row for each record of a published list, in its order, `spacing` between them. A row stays as
/// long as an equal record does; one that goes lives on, hidden, until the event loop is back: a
/// button of its own may be in the middle of a click.
template <class Record>
[[nodiscard]] QWidget* rows(int spacing, const Published<std::vector<Record>>& list,
                            std::function<QWidget*(const Record&)> makeRow) {
    struct Row {
        Record record;
        QWidget* widget;
    };
    auto* holder = new QWidget;
    auto* layout = new QVBoxLayout(holder);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    const auto refresh = [&list, makeRow = std::move(makeRow), holder, layout,
                          shown = std::make_shared<std::vector<Row>>()] {
        std::vector<Row> next;
        for (const Record& record : list.get()) {
            const auto kept = std::ranges::find(*shown, record, &Row::record);
            if (kept != shown->end()) {
                next.push_back(std::move(*kept));
                shown->erase(kept);
            } else {
                next.push_back({record, makeRow(record)});
            }
        }
        for (const Row& gone : *shown) {
            layout->removeWidget(gone.widget);
            gone.widget->hide();
            gone.widget->deleteLater();
        }
        bool anyNew = false;
        for (int i = 0; i < static_cast<int>(next.size()); ++i) {
            QWidget* widget = next[static_cast<std::size_t>(i)].widget;
            if (layout->indexOf(widget) == i)
                continue;
            const bool isNew = layout->indexOf(widget) < 0;
            layout->removeWidget(widget);
            layout->insertWidget(i, widget);
            anyNew = anyNew || isNew;
            if (isNew) {
                widget->show();
                refreshTree(widget);
            }
        }
        *shown = std::move(next);
        if (anyNew)
            orderFocusAround(holder);
    };
    whenRefreshed(holder, refresh);
    return holder;
}

} // namespace lumivert
