#include "views/controls/StepSlider.h"

#include "views/controls/Appearance.h"

#include <QAccessibleWidget>
#include <QSignalBlocker>
#include <QWheelEvent>

#include <utility>

namespace lumivert {

namespace {

class AccessibleStepSlider : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit AccessibleStepSlider(StepSlider* slider)
        : QAccessibleWidget(slider, QAccessible::Slider)
        , m_slider(slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QVariant currentValue() const override { return m_slider->scale().valueAt(m_slider->value()); }
    void setCurrentValue(const QVariant& value) override {
        m_slider->setValue(m_slider->scale().nearestPosition(value.toDouble()));
    }
    QVariant maximumValue() const override {
        return m_slider->scale().valueAt(m_slider->maximum());
    }
    QVariant minimumValue() const override { return m_slider->scale().minimum; }
    QVariant minimumStepSize() const override { return m_slider->scale().step; }

private:
    StepSlider* m_slider;
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* slider = qobject_cast<StepSlider*>(object);
    return slider ? new AccessibleStepSlider(slider) : nullptr;
}

} // namespace

StepSlider::StepSlider(Binding<double> value, QWidget* parent)
    : QSlider(Qt::Horizontal, parent)
    , m_value(std::move(value)) {
    [[maybe_unused]] static const bool installed =
        (QAccessible::installFactory(makeAccessible), true);
    setSingleStep(1);
    setPageStep(10);
    setFocusPolicy(Qt::StrongFocus); // not by the wheel
    outlineVisibly(this);
    connect(this, &QSlider::valueChanged, this,
            [this](int position) { m_value.set(m_scale.valueAt(position)); });
}

void StepSlider::refresh(const StepScale& scale) {
    const QSignalBlocker blocker(this);
    m_scale = scale;
    setRange(0, scale.lastPosition());
    setValue(scale.nearestPosition(m_value.get()));
}

void StepSlider::wheelEvent(QWheelEvent* event) {
    if (hasFocus())
        QSlider::wheelEvent(event);
    else
        event->ignore();
}

} // namespace lumivert
