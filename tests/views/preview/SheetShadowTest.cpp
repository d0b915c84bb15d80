#include "views/ViewFixture.h"
#include "views/preview/PaperPreview.h"

#include <QImage>
#include <QPainter>

namespace lumivert {
namespace {

/// How dark the shadow is, 0 to 1, around a sheet of 200 x 100 at 50, 50 (times the ratio).
class Shadow {
public:
    explicit Shadow(double pixelRatio)
        : m_ratio(pixelRatio)
        , m_image(QSize(300, 200) * pixelRatio, QImage::Format_RGB32) {
        m_image.fill(Qt::white);
        QPainter painter(&m_image);
        const QRectF sheet(50 * pixelRatio, 50 * pixelRatio, 200 * pixelRatio, 100 * pixelRatio);
        paintSheetShadow(painter, sheet.toRect(), pixelRatio);
    }
    double at(double x, double y) const {
        const QPoint pixel(static_cast<int>(x * m_ratio), static_cast<int>(y * m_ratio));
        return 1 - qRed(m_image.pixel(pixel)) / 255.0;
    }

private:
    double m_ratio;
    QImage m_image;
};

TEST(SheetShadow, isHalfOfItsOpacityAtItsEdge) {
    const Shadow shadow(1);
    EXPECT_NEAR(shadow.at(150, 154), 0.15, 0.02) << "4 below the sheet";
    EXPECT_NEAR(shadow.at(49.5, 100), 0.15, 0.02) << "at its side";
    EXPECT_NEAR(shadow.at(150, 145), 0.3, 0.02) << "under the sheet";
}

TEST(SheetShadow, reachesFurtherBelowThanAbove) {
    const Shadow shadow(1);
    EXPECT_GT(shadow.at(150, 158), 0.03);
    EXPECT_LT(shadow.at(150, 44), 0.03);
    EXPECT_EQ(shadow.at(150, 20), 0);
    EXPECT_EQ(shadow.at(150, 190), 0);
}

TEST(SheetShadow, isAsLargeAtTwiceTheDensity) {
    const Shadow once(1);
    const Shadow twice(2);
    for (const auto& [x, y] : {std::pair{150.0, 156.0}, {46.0, 100.0}, {251.0, 152.0}})
        EXPECT_NEAR(once.at(x, y), twice.at(x, y), 0.02) << x;
}

TEST(SheetShadow, ofATinySheetDoesNotFail) {
    QImage image(60, 60, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    paintSheetShadow(painter, QRect(30, 30, 1, 1), 1);
    EXPECT_NE(image.pixel(30, 36), qRgb(255, 255, 255));
}

} // namespace
} // namespace lumivert
