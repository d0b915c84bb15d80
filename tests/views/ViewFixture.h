#pragma once

#include "fakes/FakeImage.h"
#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "views/controls/Refresh.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QPalette>
#include <QTest>
#include <QTextEdit>
#include <QWidget>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
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

/// The widgets of a class below `root` that its conditions show, in the order of the tree.
template <class Widget>
std::vector<Widget*> shown(const QWidget& root) {
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
        QApplication::processEvents(); // widgets hear of it by an event
    }

    QFont m_before;
};

inline QPalette darkPalette() {
    QPalette palette(QColor(0x31, 0x31, 0x33), QColor(0x2a, 0x2a, 0x2c));
    palette.setColor(QPalette::Base, QColor(0x1f, 0x1f, 0x20));
    return palette;
}

/// A print manager in a world of fakes, with one queue of two paper sizes.
class ViewTest : public testing::Test {
protected:
    ViewTest() {
        fakes.addQueue("Photo_Printer_A3",
                       "PageSize/Media Size: *A4 A4.Fullbleed A3\n"
                       "MediaType/Media Type: *Plain Glossy\n",
                       "*PaperDimension A4: \"595.275590 841.889763\"\n"
                       "*PaperDimension A3: \"841.889763 1190.551181\"\n");
        pm = std::make_unique<PrintManager>(fakes.platform);
    }

    /// Makes a photo of that shape the current one.
    void load(PixelSize size, const std::string& path = "/photos/one.jpg") {
        fakes.images.images[path] = std::make_shared<fakes::FakeImage>(size);
        pm->loadImage(FileUrl::fromPath(path));
    }

    fakes::FakePlatform fakes;
    std::unique_ptr<PrintManager> pm;
};

} // namespace lumivert
