#include "views/controls/Labels.h"

#include "views/controls/Appearance.h"

#include <QEvent>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>
#include <QTextDocument>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace lumivert {

namespace {

// Digits are drawn in cells as wide as the widest of them; the rest as the font has it.
class DigitLayout {
public:
    explicit DigitLayout(const QFont& font)
        : m_metrics(font) {
        for (char16_t digit = u'0'; digit <= u'9'; ++digit)
            m_cell = std::max(m_cell, m_metrics.horizontalAdvance(QChar(digit)));
    }
    double advance(QChar c) const { return c.isDigit() ? m_cell : m_metrics.horizontalAdvance(c); }
    double width(const QString& text) const {
        double sum = 0;
        for (const QChar c : text)
            sum += advance(c);
        return sum;
    }
    void draw(QPainter& painter, QPointF baseline, const QString& text) const {
        for (const QChar c : text) {
            const double slack = advance(c) - m_metrics.horizontalAdvance(c);
            painter.drawText(baseline + QPointF(slack / 2, 0), QString(c));
            baseline.rx() += advance(c);
        }
    }

private:
    QFontMetricsF m_metrics;
    double m_cell = 0;
};

} // namespace

QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? text.toHtmlEscaped() : text;
}

bool answerWithWhole(QWidget* widget, QEvent* event, const QString& shown, const QString& whole) {
    if (event->type() != QEvent::ToolTip)
        return false;
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                       shown == whole ? QString() : plainToolTip(whole), widget);
    return true;
}

ElidedLabel::ElidedLabel(Qt::TextElideMode mode)
    : m_mode(mode) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

QString ElidedLabel::shownText() const {
    return fontMetrics().elidedText(text(), m_mode, contentsRect().width());
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 4, QLabel::minimumSizeHint().height()};
}

bool ElidedLabel::event(QEvent* event) {
    return answerWithWhole(this, event, shownText(), text()) || QLabel::event(event);
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()), palette(),
                          isEnabled(), shownText(), foregroundRole());
}

FittedLabel::FittedLabel(const QString& reference, Qt::Alignment alignment)
    : m_reference(reference) {
    setTextFormat(Qt::PlainText);
    setAlignment(alignment | Qt::AlignVCenter);
}

QSize FittedLabel::sizeHint() const {
    const double width = DigitLayout(font()).width(text());
    return {static_cast<int>(std::ceil(width)), fontMetrics().height()};
}

QSize FittedLabel::minimumSizeHint() const {
    return {0, fontMetrics().height()};
}

QFont FittedLabel::fittedFont() const {
    constexpr double least = 0.4;
    constexpr double step = 0.02;
    constexpr double edge = 1; // for what a glyph's smoothed edge takes beside its advance
    const double room = contentsRect().width() - edge;
    QFont fitted = font();
    for (double factor = 1 - step; factor >= least; factor -= step) {
        // Advances on whole pixels do not shrink evenly with the font: each step is measured.
        const DigitLayout layout(fitted);
        if (std::max(layout.width(m_reference), layout.width(text())) <= room)
            break;
        fitted = scaledFont(font(), factor);
    }
    return fitted;
}

void FittedLabel::paintEvent(QPaintEvent*) {
    const QFont fitted = fittedFont();
    const DigitLayout layout(fitted);
    const double width = layout.width(text());
    const QRectF box = contentsRect();
    const bool right = QStyle::visualAlignment(layoutDirection(), alignment()) & Qt::AlignRight;
    const double x = right ? box.right() - width : box.left();
    // The baseline of the unfitted font, so that a row's texts stand on one line.
    const QFontMetricsF fullMetrics(font());
    const double y = box.top() + (box.height() - fullMetrics.height()) / 2 + fullMetrics.ascent();

    QPainter painter(this);
    painter.setFont(fitted);
    painter.setPen(palette().color(foregroundRole()));
    layout.draw(painter, {x, std::round(y)}, text());
}

WrappedText::WrappedText() {
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    // A drop is the window's.
    setAcceptDrops(false);
    viewport()->setAcceptDrops(false);
    setFrameShape(QFrame::NoFrame);
    setLineWrapMode(QTextEdit::WidgetWidth);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    viewport()->setAutoFillBackground(false);
    document()->setDocumentMargin(0);
}

void WrappedText::setShownText(const QString& text) {
    // Not what toPlainText() says, which has another sign for some, as for U+00A0.
    if (m_shownText == text)
        return;
    m_shownText = text;
    setPlainText(text);
    setAccessibleName(text);
    updateGeometry();
}

int WrappedText::heightForWidth(int width) const {
    // A document of its own: laying out the shown one at another width would repaint it.
    const std::unique_ptr<QTextDocument> measured(document()->clone());
    measured->setDefaultFont(font());
    measured->setDocumentMargin(0);
    measured->setDefaultTextOption(document()->defaultTextOption());
    measured->setTextWidth(std::max(1, width));
    return static_cast<int>(std::ceil(measured->size().height()));
}

QSize WrappedText::sizeHint() const {
    const int usual = fontMetrics().averageCharWidth() * 30;
    return {usual, heightForWidth(usual)};
}

QSize WrappedText::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 8, fontMetrics().height()};
}

void WrappedText::wheelEvent(QWheelEvent* event) {
    event->ignore(); // the panel around it scrolls
}

} // namespace lumivert
