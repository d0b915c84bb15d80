#include "views/controls/Icons.h"

#include "views/controls/ControlFixture.h"

#include <QImage>
#include <QPainter>

namespace lumivert {
namespace {

constexpr Icon all[] = {Icon::photos, Icon::plus, Icon::printer, Icon::terminal, Icon::trash};

TEST(Icons, lieOnTheirGrid) {
    for (const Icon icon : all) {
        QImage image(96, 96, QImage::Format_ARGB32_Premultiplied); // four pixels a unit
        image.fill(Qt::transparent);
        QPainter painter(&image);
        lineIcon(icon).paint(&painter, image.rect());
        painter.end();
        QRect ink;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixelColor(x, y).alpha() > 128)
                    ink |= QRect(x, y, 1, 1);
        EXPECT_TRUE(QRect(2, 2, 92, 92).contains(ink)) << static_cast<int>(icon);
        EXPECT_GT(ink.width(), 12 * 4) << static_cast<int>(icon);
        EXPECT_NEAR(ink.center().x(), 48, 4) << static_cast<int>(icon);
        EXPECT_NEAR(ink.center().y(), 48, 4) << static_cast<int>(icon);
    }
}

QColor darkest(const QPixmap& pixmap) {
    const QImage image = pixmap.toImage();
    QColor found(0, 0, 0, 0);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y).alpha() > found.alpha())
                found = image.pixelColor(x, y);
    return found;
}

TEST(Icons, areTintedFromThePaletteAtPaintingTime) {
    const QIcon icon = lineIcon(Icon::plus);
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::ButtonText, Qt::blue);
    const WithPalette blue(palette);
    const QColor ink = darkest(icon.pixmap(48, 48));
    EXPECT_EQ(ink.rgb(), QColor(Qt::blue).rgb());
    EXPECT_EQ(darkest(icon.pixmap(QSize(48, 48), QIcon::Disabled)).rgb(),
              palette.color(QPalette::Disabled, QPalette::ButtonText).rgb());
}

TEST(Icons, areDrawnAnewForEachPixelDensity) {
    EXPECT_EQ(lineIcon(Icon::trash).pixmap(QSize(16, 16), 2.0).size(), QSize(32, 32));
}

} // namespace
} // namespace lumivert
