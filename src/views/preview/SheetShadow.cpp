#include "views/preview/SheetShadow.h"

#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <qdrawutil.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivert {

namespace {

constexpr double opacity = 0.3;
constexpr double offsetDown = 4;
// A blur of radius 8 is a Gaussian of half that standard deviation (CSS Backgrounds 3, 6.1.1),
// which has faded out at three deviations.
constexpr double deviation = 8 / 2.0;
constexpr double reach = 3 * deviation + offsetDown;

/// The shadow of a sheet of one pixel more than its shadow reaches inward from both edges, with
/// `outside` pixels around it: a nine patch, of which the middle is stretched.
QPixmap makePatch(int outside, double pixelRatio) {
    const int side = 4 * outside + 1;
    // How dark it is between two edges, 0 to 1.
    const auto across = [&](double place) {
        const double unit = deviation * pixelRatio * std::sqrt(2.0);
        return (1 + std::erf((place - outside) / unit)) / 2 *
               (1 + std::erf((side - outside - place) / unit)) / 2;
    };
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const double dark =
                opacity * across(x + 0.5) * across(y + 0.5 - offsetDown * pixelRatio);
            image.setPixel(x, y, qRgba(0, 0, 0, static_cast<int>(std::lround(dark * 255))));
        }
    return QPixmap::fromImage(image);
}

} // namespace

void paintSheetShadow(QPainter& painter, const QRect& sheet, double pixelRatio) {
    static double madeFor = 0;
    static QPixmap patch;
    const int outside = static_cast<int>(std::ceil(reach * pixelRatio));
    if (std::exchange(madeFor, pixelRatio) != pixelRatio)
        patch = makePatch(outside, pixelRatio);
    const QRect around = sheet.adjusted(-outside, -outside, outside, outside);
    const int corner = std::min({2 * outside, around.width() / 2, around.height() / 2});
    qDrawBorderPixmap(&painter, around, {corner, corner, corner, corner}, patch, patch.rect(),
                      {corner, corner, corner, corner}, {Qt::StretchTile, Qt::StretchTile});
}

} // namespace lumivert
