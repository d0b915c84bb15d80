#pragma once

#include <QString>

class QWidget;

namespace lumivert {

/// Shows Picker and StepSlider to assistive technology as what they are: a combo box whose name is
/// its label and whose text the choice that it shows (Qt's own gives the choice as the name on
/// Unix), a slider in millimetres; and what noticeOf made as a notice. Called by whoever makes one.
void installAccessibility();

/// Makes `child`, which appears when something happened, a notice to assistive technology.
[[nodiscard]] QWidget* notice(QWidget* child);

/// Has assistive technology say `message` about `widget`; `assertive`: at once, whatever it says.
void announce(QWidget* widget, const QString& message, bool assertive);

} // namespace lumivert
