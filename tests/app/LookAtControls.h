#pragma once

#include <QImage>

namespace lumivert {

/// Every control in every state beside each other, as the application's style, palette, font and
/// direction have them: a column each as it stands, under the pointer, pressed, with the focus and
/// disabled. Needs the QApplication.
[[nodiscard]] QImage controlsInEveryState();

} // namespace lumivert
