#pragma once

#include <QIcon>

class QFontMetrics;

namespace lumivert {

/// The program's line icons: one family, drawn on a grid of 24 × 24 units; that of photos, which is
/// shown large, with a thin pen. Their drawings are the files of src/views/controls/icons.
enum class Icon { photos, plus, printer, terminal, trash };

/// Which colour of the palette tints an icon.
enum class IconTint { buttonText, onAccent, secondary };

/// As high as the icon of a button of that font: a little less than its text, and at least 16.
[[nodiscard]] int iconSide(const QFontMetrics& metrics);

/// The icon, drawn as lines at any size and pixel density, tinted from the application's palette as
/// it is when it is painted.
[[nodiscard]] QIcon lineIcon(Icon icon, IconTint tint = IconTint::buttonText);

} // namespace lumivert
