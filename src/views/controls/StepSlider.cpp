#include "views/controls/StepSlider.h"

#include "views/controls/Accessibility.h"
#include "views/controls/Appearance.h"
#include "views/controls/Focus.h"

#include <QPainter>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionSlider>

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivert {

namespace {

// A paper's dimension comes from points; its last step is not lost to the last bit of a double.
constexpr double roundingSlack = 1e-9;
constexpr double mostPositions = 1e6;

} // namespace

int StepScale::lastPosition() const {
    const double count = std::floor((maximum - minimum) / step + roundingSlack);
    return static_cast<int>(std::clamp(count, 0.0, mostPositions));
}

int StepScale::nearestPosition(double value) const {
    return held(std::round((value - minimum) / step));
}

int StepScale::positionAbove(double value) const {
    return held(std::floor((value - minimum) / step + roundingSlack) + 1);
}

int StepScale::positionBelow(double value) const {
    return held(std::ceil((value - minimum) / step - roundingSlack) - 1);
}

int StepScale::held(double position) const {
    if (!(position > 0)) // also one that is no number
        return 0;
    return static_cast<int>(std::min(position, static_cast<double>(lastPosition())));
}

StepSlider::StepSlider(Binding<double> value)
    : QSlider(Qt::Horizontal)
    , m_value(std::move(value)) {
    installAccessibility();
    setSingleStep(1);
    setPageStep(10);
    ignoreWheelInPassing(this);
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
    const bool up = action == SliderSingleStepAdd;
    const bool down = action == SliderSingleStepSub;
    if (up || down)
        setSliderPosition(up ? m_scale.positionAbove(stored) : m_scale.positionBelow(stored));
    // Where the knob stands there already, though the value does not, nothing else would write.
    const double offered = m_scale.valueAt(sliderPosition());
    const bool beyond = (up && stored > offered) || (down && stored < offered);
    if (sliderPosition() == value() && stored != offered && !beyond)
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
    paintRounded(painter, groove, thickness / 2, partColor(palette()));
    paintRounded(painter, passed, thickness / 2, focusColor(palette()));
    paintRounded(painter, knob, radius,
                 palette().color(isSliderDown() ? QPalette::Midlight : QPalette::Button),
                 partColor(palette()));
}

} // namespace lumivert
