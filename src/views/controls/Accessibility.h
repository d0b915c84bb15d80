#pragma once

#include <QAccessible>

namespace lumivert {

/// Shows Picker and StepSlider to assistive technology as what they are: a combo box whose name is
/// its label and whose text the choice that it shows (Qt's own gives the choice as the name on
/// Unix), a slider in millimetres. Called by whoever makes one.
void installAccessibility();

/// Has `widget` be one of that role to assistive technology, and returns it.
QWidget* withRole(QAccessible::Role role, QWidget* widget);

/// Has assistive technology say `message` about `widget`; `assertive`: at once, whatever it says.
void announce(QWidget* widget, const QString& message, bool assertive);

} // namespace lumivert
