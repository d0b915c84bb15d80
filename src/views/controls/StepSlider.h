#pragma once

#include "views/controls/Binding.h"

#include <QSlider>

namespace lumivert {

/// The values that a slider offers: minimum, minimum + step, … up to the last one that is not above
/// maximum. Positions count them from 0. Lengths in millimetres.
struct StepScale {
    double minimum = 0;
    double maximum = 0;
    double step = 0.5;

    [[nodiscard]] int lastPosition() const;
    /// The offered value nearest to `value`; the ends for a value beyond them.
    [[nodiscard]] int nearestPosition(double value) const;
    /// The next offered value above or below `value`; the last one where there is no other.
    [[nodiscard]] int positionAbove(double value) const;
    [[nodiscard]] int positionBelow(double value) const;
    [[nodiscard]] double valueAt(int position) const { return minimum + position * step; }

    bool operator==(const StepScale&) const = default;

private:
    [[nodiscard]] int held(double position) const;
};

/// A horizontal slider over a StepScale, bound to a value that it need not be able to show: what is
/// stored between two steps or beyond the ends stays, the knob stands at the nearest step, and a
/// single step goes to the next on either side. Only a person moving the knob writes, by mouse,
/// keys, wheel (while it has the focus) or assistive technology, which sees the values of the
/// scale. Painted from the palette's roles.
class StepSlider : public QSlider {
    Q_OBJECT
public:
    explicit StepSlider(Binding<double> value);

    /// Shows the bound value on `scale`, without writing.
    void refresh(const StepScale& scale);

    [[nodiscard]] const StepScale& scale() const { return m_scale; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void prepareStep(int action);

    Binding<double> m_value;
    StepScale m_scale;
};

} // namespace lumivert
