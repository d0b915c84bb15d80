#include "views/controls/Icons.h"

#include "views/controls/Appearance.h"

#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>

#include <algorithm>
#include <array>

namespace lumivert {

namespace {

// In the order of the enumeration.
constexpr std::array names{"photos", "plus", "printer", "terminal", "trash"};

QColor tintColor(IconTint tint, QIcon::Mode mode) {
    const QPalette palette = QApplication::palette();
    if (mode == QIcon::Disabled)
        return palette.color(QPalette::Disabled, QPalette::ButtonText);
    if (tint == IconTint::secondary)
        return colorFor(Tone::secondary, palette);
    return active(palette,
                  tint == IconTint::onAccent ? QPalette::HighlightedText : QPalette::ButtonText);
}

class LineIconEngine : public QIconEngine {
public:
    LineIconEngine(Icon icon, IconTint tint)
        : m_icon(icon)
        , m_tint(tint) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const double side = std::min(rect.width(), rect.height());
        const double density = painter->device()->devicePixelRatioF();
        QImage lines(QSizeF(side * density, side * density).toSize(),
                     QImage::Format_ARGB32_Premultiplied);
        lines.fill(Qt::transparent);
        QPainter tinting(&lines);
        QSvgRenderer(QStringLiteral(":/icons/%1.svg").arg(names[static_cast<std::size_t>(m_icon)]))
            .render(&tinting);
        tinting.setCompositionMode(QPainter::CompositionMode_SourceIn);
        tinting.fillRect(lines.rect(), tintColor(m_tint, mode));
        const QPointF corner = QRectF(rect).center() - QPointF(side, side) / 2;
        painter->drawImage(QRectF(corner, QSizeF(side, side)), lines);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }
    QIconEngine* clone() const override { return new LineIconEngine(*this); }

private:
    Icon m_icon;
    IconTint m_tint;
};

} // namespace

int iconSide(const QFontMetrics& metrics) {
    return std::max(16, metrics.height() * 7 / 8);
}

QIcon lineIcon(Icon icon, IconTint tint) {
    return QIcon(new LineIconEngine(icon, tint));
}

} // namespace lumivert
