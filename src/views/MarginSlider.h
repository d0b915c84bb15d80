#pragma once

#include "views/controls/MillimetreRow.h"

#include <QString>

#include <functional>

namespace lumivert {

/// 0 to `max` in steps of 0.5 mm; to 0.5 where `max` is less, so that there is always a range.
[[nodiscard]] StepScale marginScale(double max);

/// A row for a margin in millimetres. `max` is asked for at every refresh; the bound value is not
/// held to it.
class MarginSlider : public MillimetreRow {
    Q_OBJECT
public:
    MarginSlider(const QString& label, const Binding<double>& value, std::function<double()> max,
                 QWidget* parent = nullptr);
};

} // namespace lumivert
