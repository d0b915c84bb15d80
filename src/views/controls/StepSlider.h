#pragma once

#include "views/controls/Binding.h"
#include "views/controls/StepScale.h"

#include <QSlider>

namespace lumivert {

/// A horizontal slider over a StepScale, bound to a value that it need not be able to show: what is
/// stored between two steps or beyond the ends stays, the knob stands at the nearest step, and a
/// single step goes to the next on either side. Only a person moving the knob writes, by mouse,
/// keys, wheel (while it has the focus) or assistive technology, which sees the values of the
/// scale. Painted from the palette's roles.
class StepSlider : public QSlider {
    Q_OBJECT
public:
    explicit StepSlider(Binding<double> value, QWidget* parent = nullptr);

    /// Shows the bound value on `scale`, without writing.
    void refresh(const StepScale& scale);

    [[nodiscard]] const StepScale& scale() const { return m_scale; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void prepareStep(int action);

    Binding<double> m_value;
    StepScale m_scale;
};

} // namespace lumivert
