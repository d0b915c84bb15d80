#pragma once

#include "views/controls/StepSlider.h"

#include <functional>

namespace lumivert {

/// A row for a length in millimetres: the label with a colon in a frame 55 wide, a slider over
/// `scale` (asked for at every refresh), the value with one decimal in a frame 55 wide. The value
/// is shown as stored, also where the slider cannot, and whole in the tool tip. A double click on
/// it or Return opens a field in its place, for any length from the scale's minimum to 10 m; Return
/// takes what was typed, Escape leaves it. `description` says for assistive technology which length
/// this is, where the label alone does not.
[[nodiscard]] QWidget* millimetreRow(const QString& label, const QString& description,
                                     const Binding<double>& value,
                                     std::function<StepScale()> scale);

} // namespace lumivert
