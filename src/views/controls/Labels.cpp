#include "views/controls/Labels.h"

#include "views/controls/Refresh.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QTextEdit>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivert {

namespace {

/// The width of the text with its digits in cells as wide as the widest of them; painted from
/// `baseline` on where there is a painter.
double layOut(const QString& text, const QFont& font, QPainter* painter = nullptr,
              QPointF baseline = {}) {
    const QFontMetricsF metrics(font);
    double cell = 0;
    for (const QChar digit : QStringLiteral("0123456789"))
        cell = std::max(cell, metrics.horizontalAdvance(digit));
    const double start = baseline.x();
    for (const QChar c : text) {
        const double own = metrics.horizontalAdvance(c);
        const double advance = c.isDigit() ? cell : own;
        if (painter)
            painter->drawText(baseline + QPointF((advance - own) / 2, 0), QString(c));
        baseline.rx() += advance;
    }
    return baseline.x() - start;
}

class ElidedLabel : public QLabel {
public:
    explicit ElidedLabel(Qt::TextElideMode mode)
        : m_mode(mode) {
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    }
    QSize minimumSizeHint() const override {
        return {fontMetrics().averageCharWidth() * 4, QLabel::minimumSizeHint().height()};
    }

protected:
    bool event(QEvent* event) override {
        return answerWithWhole(this, event, shownText(), text()) || QLabel::event(event);
    }
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        paintLine(painter, this, contentsRect(), alignment(), shownText(), foregroundRole());
    }

private:
    QString shownText() const {
        return fontMetrics().elidedText(text(), m_mode, contentsRect().width());
    }

    Qt::TextElideMode m_mode;
};

class FittedLabel : public QLabel {
public:
    explicit FittedLabel(const QString& reference)
        : m_reference(reference) {}

    QSize sizeHint() const override {
        return {static_cast<int>(std::ceil(layOut(text(), font()))), neededHeight()};
    }
    QSize minimumSizeHint() const override { return {0, neededHeight()}; }

protected:
    void paintEvent(QPaintEvent*) override {
        const QFont fitted = fittedFont();
        const QRectF box = contentsRect();
        const bool right = QStyle::visualAlignment(layoutDirection(), alignment()) & Qt::AlignRight;
        const double x = right ? box.right() - layOut(text(), fitted) : box.left();
        const QFontMetricsF full(font());
        const double y = alignment() & Qt::AlignBaseline
                             ? box.center().y() - full.height() / 2 + full.ascent()
                             : box.center().y() + QFontMetricsF(fitted).capHeight() / 2;

        QPainter painter(this);
        painter.setFont(fitted);
        painter.setPen(palette().color(foregroundRole()));
        layOut(text(), fitted, &painter, {x, std::round(y)});
    }

private:
    int neededHeight() const {
        // With the capitals in the middle descenders need more than there is below a line's.
        const QFontMetricsF metrics(font());
        constexpr double rounding = 1; // of the baseline
        return static_cast<int>(std::ceil(
            std::max(metrics.height(), metrics.capHeight() + 2 * metrics.descent() + rounding)));
    }
    QFont fittedFont() const {
        constexpr double least = 0.4;
        constexpr double step = 0.02;
        constexpr double edge = 1; // for what a glyph's smoothed edge takes beside its advance
        const double room = contentsRect().width() - edge;
        QFont fitted = font();
        // Advances on whole pixels do not shrink evenly with the font: each step is measured.
        for (double factor = 1 - step; factor >= least; factor -= step) {
            if (std::max(layOut(m_reference, fitted), layOut(text(), fitted)) <= room)
                break;
            fitted = scaledFont(font(), factor);
        }
        return fitted;
    }

    QString m_reference;
};

/// Stands at the right where the program runs from right to left, also if its text does not.
QLabel* plainLabel(const QString& content = {}) {
    auto* label = new QLabel(content);
    if (QApplication::isRightToLeft())
        label->setAlignment(Qt::AlignRight | Qt::AlignAbsolute | Qt::AlignVCenter);
    return label;
}

QLabel* styled(QLabel* label, TextSize size, Tone tone) {
    label->setTextFormat(Qt::PlainText);
    setTextStyle(label, size, tone);
    return label;
}

QWidget* following(QLabel* label, TextSource content) {
    whenRefreshed(label, [label, content = std::move(content)] { label->setText(content()); });
    return label;
}

} // namespace

QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? text.toHtmlEscaped() : text;
}

QString menuText(const QString& text) {
    const QChar leftToRightMark(0x200e);
    return QApplication::isRightToLeft() && !text.isRightToLeft() ? text + leftToRightMark : text;
}

void paintLine(QPainter& painter, const QWidget* widget, const QRect& place,
               Qt::Alignment alignment, const QString& line, QPalette::ColorRole role) {
    // Of a name that is cut the dots stay at its end.
    painter.setLayoutDirection(line.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    const auto side = QStyle::visualAlignment(widget->layoutDirection(), alignment);
    // As enabled: some styles draw a line that is not so twice, however the palette tells it.
    widget->style()->drawItemText(&painter, place, side | Qt::AlignAbsolute, widget->palette(),
                                  true, line, role);
}

bool answerWithWhole(QWidget* widget, QEvent* event, const QString& shown, const QString& whole) {
    if (event->type() != QEvent::ToolTip)
        return false;
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                       shown == whole ? QString() : plainToolTip(whole), widget);
    return true;
}

QWidget* text(const QString& content, TextSize size, Tone tone) {
    return styled(plainLabel(content), size, tone);
}

QWidget* text(TextSource content, TextSize size, Tone tone) {
    return following(styled(plainLabel(), size, tone), std::move(content));
}

QWidget* paragraph(const QString& content, TextSize size, Tone tone) {
    QLabel* label = styled(plainLabel(content), size, tone);
    label->setWordWrap(true);
    return label;
}

QWidget* elidedText(TextSource content, TextSize size, Tone tone, Qt::TextElideMode mode) {
    return following(styled(new ElidedLabel(mode), size, tone), std::move(content));
}

QLabel* fittedLabel(const QString& reference, Qt::Alignment alignment) {
    auto* label = new FittedLabel(reference);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(alignment);
    return label;
}

QWidget* numberText(TextSource content, TextSize size, Tone tone) {
    QLabel* label = styled(fittedLabel({}, Qt::AlignRight | Qt::AlignBaseline), size, tone);
    label->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    whenRefreshed(label, [label, content] { label->setToolTip(content()); });
    return following(label, std::move(content));
}

QWidget* selectableText(TextSource content, TextSize size, Tone tone) {
    auto* view = new QTextEdit;
    view->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    view->setTabChangesFocus(true);
    // A drop is the window's.
    view->setAcceptDrops(false);
    view->viewport()->setAcceptDrops(false);
    view->setFrameShape(QFrame::NoFrame);
    view->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->viewport()->setAutoFillBackground(false);
    view->document()->setDocumentMargin(0);
    QObject::connect(view->document()->documentLayout(),
                     &QAbstractTextDocumentLayout::documentSizeChanged, view,
                     [view](const QSizeF& needed) {
                         view->setFixedHeight(static_cast<int>(std::ceil(needed.height())));
                     });
    // Prose stands where the program's other texts do, a command as it is read.
    QTextOption option = view->document()->defaultTextOption();
    if (size == TextSize::monospacedCaption)
        option.setTextDirection(Qt::LeftToRight);
    else if (QApplication::isRightToLeft())
        option.setAlignment(Qt::AlignRight | Qt::AlignAbsolute);
    view->document()->setDefaultTextOption(option);
    setTextStyle(view, size, tone);
    whenRefreshed(view, [view, content = std::move(content), shown = QString()]() mutable {
        const QString text = content();
        // Not what toPlainText() says, which has another sign for some, as for U+00A0.
        if (std::exchange(shown, text) == text)
            return;
        view->setPlainText(text);
        view->setAccessibleName(text);
    });
    return view;
}

} // namespace lumivert
