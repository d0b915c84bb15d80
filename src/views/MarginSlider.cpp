#include "views/MarginSlider.h"

#include <algorithm>
#include <utility>

namespace lumivert {

StepScale marginScale(double max) {
    return {.minimum = 0, .maximum = std::max(max, 0.5), .step = 0.5};
}

MarginSlider::MarginSlider(const QString& label, const Binding<double>& value,
                           std::function<double()> max, QWidget* parent)
    : MillimetreRow(
          label, value, [max = std::move(max)] { return marginScale(max()); }, parent) {}

} // namespace lumivert
