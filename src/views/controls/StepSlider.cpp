#include "views/controls/StepSlider.h"

#include "views/controls/Accessibility.h"
#include "views/controls/Appearance.h"

#include <QPainter>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace lumivert {

StepSlider::StepSlider(Binding<double> value, QWidget* parent)
    : QSlider(Qt::Horizontal, parent)
    , m_value(std::move(value)) {
    installAccessibility();
    setSingleStep(1);
    setPageStep(10);
    setFocusPolicy(Qt::StrongFocus); // not by the wheel
    connect(this, &QSlider::actionTriggered, this, &StepSlider::prepareStep);
    connect(this, &QSlider::valueChanged, this,
            [this](int position) { m_value.set(m_scale.valueAt(position)); });
}

void StepSlider::refresh(const StepScale& scale) {
    const QSignalBlocker blocker(this);
    m_scale = scale;
    setRange(0, scale.lastPosition());
    setValue(scale.nearestPosition(m_value.get()));
}

void StepSlider::prepareStep(int action) {
    if (action == SliderNoAction || action == SliderMove)
        return;
    const double stored = m_value.get();
    int next = sliderPosition();
    if (action == SliderSingleStepAdd)
        next = m_scale.positionAbove(stored);
    else if (action == SliderSingleStepSub)
        next = m_scale.positionBelow(stored);
    setSliderPosition(next);
    // Where the knob stands there already, though the value does not, nothing else would write.
    const double offered = m_scale.valueAt(next);
    const bool beyond = (action == SliderSingleStepAdd && stored > offered) ||
                        (action == SliderSingleStepSub && stored < offered);
    if (next == value() && stored != offered && !beyond)
        m_value.set(offered);
}

void StepSlider::paintEvent(QPaintEvent*) {
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRectF knob =
        QRectF(style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this))
            .intersected(rect())
            .adjusted(1, 1, -1, -1);
    const double radius = std::min(knob.width(), knob.height()) / 2;
    constexpr double thickness = 4;
    const QRectF groove(thickness / 2, knob.center().y() - thickness / 2, width() - thickness,
                        thickness);
    // What lies before the knob, which is at the right where the slider is mirrored.
    QRectF passed = groove;
    if (option.upsideDown)
        passed.setLeft(knob.center().x());
    else
        passed.setRight(knob.center().x());

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(partColor(palette()));
    painter.drawRoundedRect(groove, thickness / 2, thickness / 2);
    painter.setBrush(focusColor(palette()));
    painter.drawRoundedRect(passed, thickness / 2, thickness / 2);
    painter.setPen(partColor(palette()));
    painter.setBrush(palette().color(isSliderDown() ? QPalette::Midlight : QPalette::Button));
    painter.drawRoundedRect(knob, radius, radius);
}

void StepSlider::wheelEvent(QWheelEvent* event) {
    if (hasFocus())
        QSlider::wheelEvent(event);
    else
        event->ignore();
}

} // namespace lumivert
