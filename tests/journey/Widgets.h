#pragma once

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QWidget>

#include <stdexcept>
#include <string>

// Finding and working controls as a person does: by the name they show.
namespace lumivert {

/// The visible widget of that class and accessible name (a button: its text) below `parent`. Throws
/// std::runtime_error when there is none.
template <class Widget>
Widget* control(const QWidget* parent, const QString& name) {
    for (Widget* widget : parent->findChildren<Widget*>()) {
        QString shown = widget->accessibleName();
        if constexpr (requires { widget->text(); })
            if (shown.isEmpty())
                shown = widget->text();
        if (shown == name && widget->isVisible())
            return widget;
    }
    throw std::runtime_error("no visible control \"" + name.toStdString() + "\"");
}

/// Lets events run until `done` or ten seconds are over; whether it was done.
template <class Condition>
bool waitFor(Condition done) {
    return QTest::qWaitFor(done, 10'000);
}

} // namespace lumivert
