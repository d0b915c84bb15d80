#pragma once

#include <QColor>
#include <QIcon>
#include <QPainterPath>
#include <QRectF>

#include <optional>
#include <string_view>

class QPainter;

namespace lumivert {

/// The program's line icons: one family, drawn with one pen on a grid of 24 × 24 units. Their
/// drawings are the files of src/views/controls/icons.
enum class Icon { photos, plus, printer, terminal, trash };

/// Which colour of the palette tints an icon.
enum class IconTint { buttonText, onAccent, secondary };

/// The lines of an icon on its grid. Read once.
[[nodiscard]] const QPainterPath& iconPath(Icon icon);

/// Strokes the icon into `rect` with a pen `penWidth` units of the grid wide.
void paintIcon(QPainter& painter, Icon icon, const QRectF& rect, const QColor& color,
               double penWidth = 1.5);

/// The icon for a control: drawn as lines at any size and pixel density, tinted from the
/// application's palette as it is when it is painted.
[[nodiscard]] QIcon lineIcon(Icon icon, IconTint tint = IconTint::buttonText);

/// Path data of SVG 1.1 (8.3), of which the icons use the absolute commands M, L, H, V, C and Z,
/// each letter written out, numbers separated by blanks. Nothing for anything else.
[[nodiscard]] std::optional<QPainterPath> pathFromSvgData(std::string_view data);

} // namespace lumivert
