#include "views/controls/FocusOrder.h"

#include <QLayout>
#include <QWidget>

namespace lumivert {

namespace {

void collect(QWidget* widget, QList<QWidget*>& found);

void collect(const QLayout* layout, QList<QWidget*>& found) {
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem* item = layout->itemAt(i);
        if (item->widget())
            collect(item->widget(), found);
        else if (item->layout())
            collect(item->layout(), found);
    }
}

void collect(QWidget* widget, QList<QWidget*>& found) {
    if (widget->focusPolicy() & Qt::TabFocus)
        found << widget;
    if (widget->layout())
        collect(widget->layout(), found);
}

} // namespace

void orderFocusAround(QWidget* widget) {
    while (widget->parentWidget() && widget->parentWidget()->layout())
        widget = widget->parentWidget();
    QList<QWidget*> inOrder;
    collect(widget, inOrder);
    for (qsizetype i = 1; i < inOrder.size(); ++i)
        QWidget::setTabOrder(inOrder[i - 1], inOrder[i]);
}

} // namespace lumivert
