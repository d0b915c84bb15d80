#pragma once

#include "views/controls/Appearance.h"

#include <QString>

#include <functional>

class QEvent;
class QLabel;
class QPainter;
class QRect;

namespace lumivert {

using TextSource = std::function<QString()>;

/// `text` for a tooltip, shown as it is whatever it looks like; empty for an empty text.
[[nodiscard]] QString plainToolTip(const QString& text);

/// `text` for a menu, which keeps its last sign at its end where menus run the other way.
[[nodiscard]] QString menuText(const QString& text);

/// Draws a line of a label or a control of its own, in the text's own direction and at the side
/// that is `alignment`'s in the widget's; in the painter's pen where there is no `role`.
void paintLine(QPainter& painter, const QWidget* widget, const QRect& place,
               Qt::Alignment alignment, const QString& line,
               QPalette::ColorRole role = QPalette::NoRole);

/// Answers a widget's request for a tooltip: the whole text where another is shown, else none.
/// Whether `event` was such a request.
bool answerWithWhole(QWidget* widget, QEvent* event, const QString& shown, const QString& whole);

// All texts are plain, whatever they look like.

[[nodiscard]] QWidget* text(const QString& content, TextSize size = TextSize::body,
                            Tone tone = Tone::primary);
[[nodiscard]] QWidget* text(TextSource content, TextSize size = TextSize::body,
                            Tone tone = Tone::primary);
/// A text that wraps between words.
[[nodiscard]] QWidget* paragraph(const QString& content, TextSize size, Tone tone);
/// A line that is cut where it does not fit, as `mode` says; then its tooltip is the whole text.
[[nodiscard]] QWidget* elidedText(TextSource content, TextSize size, Tone tone,
                                  Qt::TextElideMode mode);
/// A line in a frame that cannot grow: the font is made smaller, down to two fifths, until
/// `reference` fits (so that several of these look alike), and all digits are equally wide. The
/// letters are centred, or stand on the line of the unfitted font with Qt::AlignBaseline.
[[nodiscard]] QLabel* fittedLabel(const QString& reference, Qt::Alignment alignment);
/// Such a line at the right, whole in the tooltip.
[[nodiscard]] QWidget* numberText(TextSource content, TextSize size, Tone tone);
/// A text that can be selected and copied, as tall as it needs, and wraps anywhere where it has to.
[[nodiscard]] QWidget* selectableText(TextSource content, TextSize size, Tone tone);

} // namespace lumivert
