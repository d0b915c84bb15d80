#include "journey/TestPhoto.h"

#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QString>

#include <stdexcept>

namespace lumivert {

void writeTestPhoto(const std::string& path, QSize pixels, int dotsPerInch) {
    QImage photo(pixels, QImage::Format_RGB32);
    QPainter painter(&photo);
    QLinearGradient ground(0, 0, pixels.width(), pixels.height());
    ground.setColorAt(0, QColor(20, 60, 160));
    ground.setColorAt(1, QColor(30, 150, 90));
    painter.fillRect(photo.rect(), ground);
    const int border = qMin(pixels.width(), pixels.height()) / 12;
    painter.setPen(
        QPen(QColor(200, 40, 30), 2 * border, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.drawRect(photo.rect());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::white, border));
    painter.drawLine(2 * border, 2 * border, pixels.width() / 2, pixels.height() / 2);
    painter.end();
    const int dotsPerMetre = qRound(dotsPerInch / 0.0254);
    photo.setDotsPerMeterX(dotsPerMetre);
    photo.setDotsPerMeterY(dotsPerMetre);
    if (!photo.save(QString::fromStdString(path), "JPG", 95))
        throw std::runtime_error("the test photo could not be written");
}

} // namespace lumivert
