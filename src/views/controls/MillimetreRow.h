#pragma once

#include "views/controls/Binding.h"

#include <QString>

#include <functional>

class QWidget;

namespace lumivert {

// Rows for lengths in millimetres: the label with a colon in a frame 55 wide, a slider in steps of
// 0.5, the value with one decimal in a frame 55 wide. The value is shown as stored, also where the
// slider cannot, and whole in the tool tip. A double click on it or Return opens a field in its
// place, for any length from the slider's least to 10 m; Return takes what was typed, Escape leaves
// it. `description` says for assistive technology which length this is, where the label alone does
// not. The slider's end is asked for at every refresh while the row is shown.

/// From 0 to `max`; to 0.5 where that is less, so that there is always a range.
[[nodiscard]] QWidget* marginSlider(const QString& label, const QString& description,
                                    const Binding<double>& value, std::function<double()> max);

/// From 1 to `maxValue`, the sheet's side. One below 1 ends the program: no sheet of paper is that
/// small, so the caller is broken.
[[nodiscard]] QWidget* imageSizeInput(const QString& label, const QString& description,
                                      const Binding<double>& value,
                                      std::function<double()> maxValue);

} // namespace lumivert
