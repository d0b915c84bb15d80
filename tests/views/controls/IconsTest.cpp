#include "views/controls/Icons.h"

#include "views/controls/ControlFixture.h"

#include <QImage>
#include <QPainter>

#include <string>
#include <vector>

namespace lumivert {
namespace {

constexpr Icon all[] = {Icon::photos, Icon::plus, Icon::printer, Icon::terminal, Icon::trash};

TEST(SvgData, readsEachCommand) {
    const auto path = pathFromSvgData("M 1 2 L 3 4 H 5 V 6 C 1 1 2 2 3.5 -1 Z");
    ASSERT_TRUE(path);
    QPainterPath expected(QPointF(1, 2));
    expected.lineTo(3, 4);
    expected.lineTo(5, 4);
    expected.lineTo(5, 6);
    expected.cubicTo(1, 1, 2, 2, 3.5, -1);
    expected.closeSubpath();
    EXPECT_EQ(*path, expected);
}

TEST(SvgData, refusesWhatItDoesNotKnow) {
    for (const char* data : {"M 1", "M 1 x", "m 1 2", "A 1 1 0 0 0 2 2", "C 1 2 3 4 5", "1 2"})
        EXPECT_FALSE(pathFromSvgData(data)) << data;
}

TEST(SvgData, ofNothingIsEmpty) {
    EXPECT_TRUE(pathFromSvgData(" ")->isEmpty());
}

TEST(Icons, lieOnTheirGrid) {
    for (const Icon icon : all) {
        const QRectF bounds = iconPath(icon).boundingRect();
        EXPECT_TRUE(QRectF(1, 1, 22, 22).contains(bounds)) << static_cast<int>(icon);
        EXPECT_GT(bounds.width(), 12) << static_cast<int>(icon);
        EXPECT_NEAR(bounds.center().x(), 12, 1) << static_cast<int>(icon);
        EXPECT_NEAR(bounds.center().y(), 12, 1) << static_cast<int>(icon);
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
