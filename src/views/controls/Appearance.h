#pragma once

#include <QColor>
#include <QFont>

#include <functional>

class QPalette;
class QWidget;

namespace lumivert {

/// The roles of a text, relative to the desktop's font and palette.
enum class TextSize { body, headline, title2, callout, caption, monospacedCaption };
enum class Tone { primary, secondary, warning, error };

/// WCAG 2.1, 1.4.3: what small text must keep against its ground.
inline constexpr double leastContrast = 4.5;

/// The contrast of two opaque colours, 1 to 21 (WCAG 2.1, "contrast ratio").
[[nodiscard]] double contrastRatio(const QColor& a, const QColor& b);

/// `hue` moved toward black or white, whichever is away from `ground`, until it keeps at least
/// `contrast` against it.
[[nodiscard]] QColor readableOn(const QColor& ground, const QColor& hue,
                                double contrast = leastContrast);

/// `base` at `factor` times its size, which may be given in points or in pixels.
[[nodiscard]] QFont scaledFont(const QFont& base, double factor);
[[nodiscard]] QFont fontFor(TextSize size, const QFont& base);
[[nodiscard]] QColor colorFor(Tone tone, const QPalette& palette);

/// The desktop's accent colour, dark or light enough for the text on it.
[[nodiscard]] QColor accentFill(const QPalette& palette);
[[nodiscard]] QColor dividerColor(const QPalette& palette);

/// The ground of the preview: neutral grey whatever the palette's tint, light or dark with it.
[[nodiscard]] QColor previewGround(const QPalette& palette);

/// Runs `apply` now and whenever the desktop's font, palette or style changes while `widget` lives.
void whenAppearanceChanges(QWidget* widget, std::function<void()> apply);

/// WCAG 2.1, 1.4.11: what the parts of a control must keep against their ground.
inline constexpr double leastPartContrast = 3;

/// Gives a check box or a slider an outline that can be seen on the window's colour, and keeps it
/// so. Under the Fusion style, which by itself draws one that can hardly be.
void outlineVisibly(QWidget* widget);

/// Fills a button with the accent colour, or gives it its own back.
void fillWithAccent(QWidget* button, bool filled);

/// Gives `widget` the role's font and text colour, and keeps them so.
void setTextStyle(QWidget* widget, TextSize size, Tone tone);

} // namespace lumivert
