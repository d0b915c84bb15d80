#pragma once

#include "platform/Observable.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QPalette>
#include <QTest>
#include <QTextEdit>
#include <QWidget>
#include <gtest/gtest.h>

#include <ostream>
#include <utility>
#include <vector>

// So that a failed comparison says what was there.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace lumivert {

/// What assistive technology calls the widget.
inline QString accessibleName(QWidget* widget) {
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(widget);
    return interface ? interface->text(QAccessible::Name) : QString();
}

/// Lets what follows the model be brought up to date, as happens before the next turn paints.
inline void refreshed() {
    QCoreApplication::sendPostedEvents();
}

/// The widgets of a class below `root` that its conditions show, in the order of the tree.
template <class Widget>
std::vector<Widget*> shown(const QWidget& root) {
    refreshed();
    std::vector<Widget*> found;
    for (Widget* widget : root.findChildren<Widget*>())
        if (widget->isVisibleTo(&root))
            found.push_back(widget);
    return found;
}

/// The only shown widget of that class and accessible name; null when there is none.
template <class Widget>
Widget* control(const QWidget& root, const QString& name) {
    Widget* found = nullptr;
    for (Widget* widget : shown<Widget>(root))
        if (accessibleName(widget) == name) {
            EXPECT_EQ(found, nullptr) << "two controls called " << name.toStdString();
            found = widget;
        }
    return found;
}

/// The label that shows exactly `text`, or the text view.
inline QWidget* textShown(const QWidget& root, const QString& text) {
    for (QLabel* label : shown<QLabel>(root))
        if (label->text() == text)
            return label;
    for (QTextEdit* view : shown<QTextEdit>(root))
        if (view->toPlainText() == text)
            return view;
    return nullptr;
}

/// Counts the notifications of an object.
class NotificationCount {
public:
    explicit NotificationCount(const ObservableObject& object)
        : m_subscription(object.subscribe([this] { ++m_count; })) {}

    /// How many there were since the last call.
    int taken() { return std::exchange(m_count, 0); }

private:
    int m_count = 0;
    Subscription m_subscription;
};

/// Gives the application another palette for as long as it lives.
class WithPalette {
public:
    explicit WithPalette(const QPalette& palette)
        : m_before(QApplication::palette()) {
        set(palette);
    }
    ~WithPalette() { set(m_before); }

private:
    static void set(const QPalette& palette) {
        QApplication::setPalette(palette);
        QApplication::processEvents(); // widgets hear of it by an event
    }

    QPalette m_before;
};

/// Gives the application's font another size for as long as it lives.
class WithFontSize {
public:
    explicit WithFontSize(double points)
        : m_before(QApplication::font()) {
        QFont font = m_before;
        font.setPointSizeF(points);
        set(font);
    }
    ~WithFontSize() { set(m_before); }

private:
    static void set(const QFont& font) {
        QApplication::setFont(font);
        // Widgets hear of it by an event, and what holds them of their new sizes by another.
        QApplication::processEvents();
        QApplication::processEvents();
    }

    QFont m_before;
};

inline QPalette darkPalette() {
    QPalette palette(QColor(0x31, 0x31, 0x33), QColor(0x2a, 0x2a, 0x2c));
    palette.setColor(QPalette::Base, QColor(0x1f, 0x1f, 0x20));
    return palette;
}

} // namespace lumivert
