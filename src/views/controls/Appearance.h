#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QPen>

#include <functional>

class QPainter;
class QWidget;

namespace lumivert {

/// The roles of a text, relative to the desktop's font and palette.
enum class TextSize { body, headline, title2, callout, caption, monospacedCaption };
enum class Tone { primary, secondary, divider, warning, error };

/// WCAG 2.1, 1.4.3: what small text must keep against its ground.
inline constexpr double leastContrast = 4.5;

/// A colour of a window in use: one that another covers keeps its looks.
[[nodiscard]] QColor active(const QPalette& palette, QPalette::ColorRole role);

/// The contrast of two opaque colours, 1 to 21 (WCAG 2.1, "contrast ratio").
[[nodiscard]] double contrastRatio(const QColor& a, const QColor& b);

/// `hue` moved toward black or white, whichever is away from `ground`, until it keeps at least
/// `contrast` against it.
[[nodiscard]] QColor readableOn(const QColor& ground, const QColor& hue,
                                double contrast = leastContrast);

/// `base` at `factor` times its size, which may be given in points or in pixels.
[[nodiscard]] QFont scaledFont(const QFont& base, double factor);
[[nodiscard]] QFont fontFor(TextSize size, const QFont& base);
/// Where `group` is not that of a window in use, no more than its own text stands out.
[[nodiscard]] QColor colorFor(Tone tone, const QPalette& palette,
                              QPalette::ColorGroup group = QPalette::Active);

/// WCAG 2.1, 1.4.11: what the parts of a control must keep against their ground.
inline constexpr double leastPartContrast = 3;

/// The corners of what the program paints itself, in points.
inline constexpr double controlRadius = 3;

void paintRounded(QPainter& painter, const QRectF& rect, double radius, const QBrush& fill,
                  const QPen& outline = Qt::NoPen);

/// The desktop's accent colour, dark or light enough for HighlightedText on it; `down`: while it is
/// pressed.
[[nodiscard]] QColor accentFill(const QPalette& palette, bool down = false);
/// The outline of a control's parts, and the accent colour of a thin part, as seen on Window.
[[nodiscard]] QColor partColor(const QPalette& palette);
[[nodiscard]] QColor focusColor(const QPalette& palette);

/// The ground of the preview: neutral grey whatever the palette's tint, light or dark with it.
[[nodiscard]] QColor previewGround(const QPalette& palette);

/// Runs `apply` now and whenever the desktop's font, palette or style changes while `widget` lives.
void whenAppearanceChanges(QWidget* widget, std::function<void()> apply);

/// Gives `widget` the role's font and the colour of its text or line, and keeps them so.
void setTextStyle(QWidget* widget, TextSize size, Tone tone);

} // namespace lumivert
