#include "views/controls/Icons.h"

#include "platform/FatalError.h"
#include "views/controls/Appearance.h"

#include <QApplication>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

namespace lumivert {

namespace {

constexpr double gridSize = 24;

struct PathReader {
    std::string_view rest;

    void skipBlanks() {
        const auto start = rest.find_first_not_of(" \n");
        rest.remove_prefix(start == std::string_view::npos ? rest.size() : start);
    }
    std::optional<double> number() {
        skipBlanks();
        double value = 0;
        const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
        if (error != std::errc())
            return std::nullopt;
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
        return value;
    }
    template <std::size_t Count>
    std::optional<std::array<double, Count>> numbers() {
        std::array<double, Count> values{};
        for (double& value : values) {
            const auto read = number();
            if (!read)
                return std::nullopt;
            value = *read;
        }
        return values;
    }
};

bool readCommand(char command, PathReader& reader, QPainterPath& path) {
    switch (command) {
    case 'M':
    case 'L': {
        const auto to = reader.numbers<2>();
        if (!to)
            return false;
        if (command == 'M')
            path.moveTo((*to)[0], (*to)[1]);
        else
            path.lineTo((*to)[0], (*to)[1]);
        return true;
    }
    case 'H':
    case 'V': {
        const auto to = reader.number();
        if (!to)
            return false;
        const QPointF from = path.currentPosition();
        path.lineTo(command == 'H' ? QPointF(*to, from.y()) : QPointF(from.x(), *to));
        return true;
    }
    case 'C': {
        const auto n = reader.numbers<6>();
        if (!n)
            return false;
        path.cubicTo((*n)[0], (*n)[1], (*n)[2], (*n)[3], (*n)[4], (*n)[5]);
        return true;
    }
    case 'Z':
        path.closeSubpath();
        return true;
    default:
        return false;
    }
}

QPainterPath readIcon(const char* name) {
    QFile file(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name)));
    if (!file.open(QIODevice::ReadOnly))
        fatalError("an icon is missing from the program");
    const std::string svg = file.readAll().toStdString();
    constexpr std::string_view opening = " d=\"";
    const auto start = svg.find(opening) + opening.size();
    const auto path =
        pathFromSvgData(std::string_view(svg).substr(start, svg.find('"', start) - start));
    if (!path)
        fatalError("an icon of the program cannot be read");
    return *path;
}

QColor tintColor(IconTint tint, QIcon::Mode mode) {
    const QPalette palette = QApplication::palette();
    if (mode == QIcon::Disabled)
        return palette.color(QPalette::Disabled, QPalette::ButtonText);
    switch (tint) {
    case IconTint::buttonText:
        break;
    case IconTint::onAccent:
        return palette.color(QPalette::Active, QPalette::HighlightedText);
    case IconTint::secondary:
        return colorFor(Tone::secondary, palette);
    }
    return palette.color(QPalette::Active, QPalette::ButtonText);
}

class LineIconEngine : public QIconEngine {
public:
    LineIconEngine(Icon icon, IconTint tint)
        : m_icon(icon)
        , m_tint(tint) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        paintIcon(*painter, m_icon, rect, tintColor(m_tint, mode));
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

std::optional<QPainterPath> pathFromSvgData(std::string_view data) {
    QPainterPath path;
    PathReader reader{data};
    for (reader.skipBlanks(); !reader.rest.empty(); reader.skipBlanks()) {
        const char command = reader.rest.front();
        reader.rest.remove_prefix(1);
        if (!readCommand(command, reader, path))
            return std::nullopt;
    }
    return path;
}

const QPainterPath& iconPath(Icon icon) {
    // In the order of the enumeration.
    static const std::array paths{readIcon("photos"), readIcon("plus"), readIcon("printer"),
                                  readIcon("terminal"), readIcon("trash")};
    return paths[static_cast<std::size_t>(icon)];
}

void paintIcon(QPainter& painter, Icon icon, const QRectF& rect, const QColor& color,
               double penWidth) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const double side = std::min(rect.width(), rect.height());
    painter.translate(rect.center() - QPointF(side, side) / 2);
    painter.scale(side / gridSize, side / gridSize);
    painter.setPen(QPen(color, penWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(iconPath(icon));
    painter.restore();
}

QIcon lineIcon(Icon icon, IconTint tint) {
    return QIcon(new LineIconEngine(icon, tint));
}

} // namespace lumivert
