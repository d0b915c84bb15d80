#include "views/controls/Labels.h"

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

QFont scaledFont(QFont font, double factor) {
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(std::max(1, qRound(font.pixelSize() * factor)));
    return font;
}

} // namespace

QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? text.toHtmlEscaped() : text;
}

ElidedLabel::ElidedLabel(QWidget* parent)
    : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

QString ElidedLabel::shownText() const {
    return fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width());
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 4, QLabel::minimumSizeHint().height()};
}

bool ElidedLabel::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        QToolTip::showText(help->globalPos(),
                           shownText() == text() ? QString() : plainToolTip(text()), this);
        return true;
    }
    return QLabel::event(event);
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()), palette(),
                          isEnabled(), shownText(), foregroundRole());
}

FittedLabel::FittedLabel(const QString& reference, Qt::Alignment alignment, QWidget* parent)
    : QLabel(parent)
    , m_reference(reference) {
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

void FittedLabel::paintEvent(QPaintEvent*) {
    const double room = contentsRect().width();
    const DigitLayout full(font());
    const double needed = std::max(full.width(m_reference), full.width(text()));
    const QFont fitted =
        needed > room ? scaledFont(font(), std::max(0.5, room / needed * 0.99)) : font();
    const DigitLayout layout(fitted);

    const QFontMetricsF metrics(fitted);
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

WrappedText::WrappedText(QWidget* parent)
    : QTextEdit(parent) {
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
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
    if (toPlainText() == text)
        return;
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

void WrappedText::changeEvent(QEvent* event) {
    QTextEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
}

void WrappedText::wheelEvent(QWheelEvent* event) {
    event->ignore(); // the panel around it scrolls
}

} // namespace lumivert
