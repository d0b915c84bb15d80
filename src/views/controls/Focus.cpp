#include "views/controls/Focus.h"

#include "views/controls/Appearance.h"
#include "views/controls/Picker.h"

#include <QApplication>
#include <QFocusFrame>
#include <QMenuBar>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>

#include <utility>

namespace lumivert {

namespace {

/// QFocusFrame follows the widget; how it looks is a matter of its style.
class RingStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        return hint == SH_FocusFrame_AboveWidget
                   ? 1
                   : QProxyStyle::styleHint(hint, option, widget, data);
    }
    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override {
        return metric == PM_FocusFrameHMargin || metric == PM_FocusFrameVMargin
                   ? reach
                   : QProxyStyle::pixelMetric(metric, option, widget);
    }
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
        if (element != CE_FocusFrame)
            return QProxyStyle::drawControl(element, option, painter, widget);
        constexpr double inset = penWidth / 2.0;
        paintRounded(*painter, QRectF(option->rect).adjusted(inset, inset, -inset, -inset),
                     controlRadius + inset, Qt::NoBrush,
                     QPen(focusColor(QApplication::palette()), penWidth));
    }

private:
    static constexpr int penWidth = 2;
    static constexpr int reach = penWidth + 1;
};

class WheelGuard : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* control, QEvent* event) override {
        if (event->type() != QEvent::Wheel || static_cast<QWidget*>(control)->hasFocus())
            return false;
        event->ignore();
        return true;
    }
};

} // namespace

void ringFocusIn(QWidget* window) {
    auto* frame = new QFocusFrame(window);
    auto* style = new RingStyle;
    style->setParent(frame);
    frame->setStyle(style);
    QObject::connect(qApp, &QApplication::focusChanged, frame,
                     [frame, window](QWidget*, QWidget* now) {
                         // An open menu shows itself where the focus is.
                         if (now && (now->window() != window || qobject_cast<QMenuBar*>(now)))
                             now = nullptr;
                         // Segments are one control to the eye.
                         if (now && qobject_cast<SegmentedPicker*>(now->parentWidget()))
                             now = now->parentWidget();
                         frame->setWidget(now);
                     });
}

void orderFocusAround(QWidget* widget) {
    QWidget* before = nullptr;
    for (QWidget* next : widget->window()->findChildren<QWidget*>())
        if ((next->focusPolicy() & Qt::TabFocus) && next->window() == widget->window())
            if (QWidget* previous = std::exchange(before, next))
                QWidget::setTabOrder(previous, next);
}

void ignoreWheelInPassing(QWidget* control) {
    control->setFocusPolicy(Qt::StrongFocus); // which the wheel does not give
    control->installEventFilter(new WheelGuard(control));
}

} // namespace lumivert
