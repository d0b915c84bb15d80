#pragma once

#include "platform/FatalError.h"
#include "views/controls/MillimetreRow.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace lumivert {

/// 0 to `max` in steps of 0.5 mm; to 0.5 where `max` is less, so that there is always a range.
[[nodiscard]] inline StepScale marginScale(double max) {
    return {.minimum = 0, .maximum = std::max(max, 0.5), .step = 0.5};
}

/// 1 to `maxValue` in steps of 0.5 mm. A `maxValue` below 1 ends the program: no sheet of paper is
/// that small, so the caller is broken.
[[nodiscard]] inline StepScale imageSizeScale(double maxValue) {
    if (!(maxValue >= 1))
        fatalError("an image size cannot be chosen for a sheet smaller than 1 mm");
    return {.minimum = 1, .maximum = maxValue, .step = 0.5};
}

/// A row for a margin. `max` is asked for at every refresh; the bound value is not held to it.
[[nodiscard]] inline QWidget* marginSlider(const QString& label, const QString& description,
                                           const Binding<double>& value,
                                           std::function<double()> max) {
    return millimetreRow(label, description, value,
                         [max = std::move(max)] { return marginScale(max()); });
}

/// A row for a side of the image. `maxValue`, the sheet's side, is asked for at every refresh while
/// the row is shown.
[[nodiscard]] inline QWidget* imageSizeInput(const QString& label, const QString& description,
                                             const Binding<double>& value,
                                             std::function<double()> maxValue) {
    return millimetreRow(label, description, value,
                         [max = std::move(maxValue)] { return imageSizeScale(max()); });
}

} // namespace lumivert
