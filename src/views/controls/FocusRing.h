#pragma once

class QWidget;

namespace lumivert {

/// Draws a ring, two points wide, around whichever control of the window has the focus, under every
/// style: for people who work by keys and see little. The window owns it.
void ringFocusIn(QWidget* window);

} // namespace lumivert
