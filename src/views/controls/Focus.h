#pragma once

class QWidget;

namespace lumivert {

/// Draws a ring, two points wide, around whichever control of the window has the focus, under every
/// style: for people who work by keys and see little. The window owns it.
void ringFocusIn(QWidget* window);

/// Makes the Tab key go through the controls of `widget`'s window in the order in which they lie in
/// its tree. For widgets that came later than the rest.
void orderFocusAround(QWidget* widget);

/// The wheel turns `control` only while it has the focus; else it scrolls what is around it.
void ignoreWheelInPassing(QWidget* control);

} // namespace lumivert
