#pragma once

class QWidget;

namespace lumivert {

/// Makes the Tab key go through the controls around `widget` in the order in which their layouts
/// show them, up to the outermost that has a layout. For widgets that came later than the rest.
void orderFocusAround(QWidget* widget);

} // namespace lumivert
