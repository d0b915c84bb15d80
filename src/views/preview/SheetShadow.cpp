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
constexpr double blurRadius = 8;
constexpr double offsetDown = 4;
// A blur of radius r is a Gaussian of standard deviation r / 2 (CSS Backgrounds 3, 6.1.1), which
// has faded out at three deviations.
constexpr double deviation = blurRadius / 2;
constexpr double reach = 3 * deviation;

/// How dark the shadow of a half plane is `distance` inside its edge, 0 to 1.
double edgeProfile(double distance, double sigma) {
    return 0.5 * (1 + std::erf(distance / (sigma * std::sqrt(2.0))));
}

/// How far the shadow reaches to either side of the sheet's edge, in pixels.
int reachFor(double pixelRatio) {
    return static_cast<int>(std::ceil((reach + offsetDown) * pixelRatio));
}

/// The shadow of a sheet of one pixel more than its shadow reaches inward from both edges: a nine
/// patch, of which the middle is stretched.
QPixmap makePatch(double pixelRatio) {
    const double sigma = deviation * pixelRatio;
    const double down = offsetDown * pixelRatio;
    const double near = reachFor(pixelRatio);
    const int side = 4 * reachFor(pixelRatio) + 1;
    const auto across = [&](double place) {
        return edgeProfile(place - near, sigma) * edgeProfile(side - near - place, sigma);
    };
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const double dark = opacity * across(x + 0.5) * across(y + 0.5 - down);
            image.setPixel(x, y, qRgba(0, 0, 0, static_cast<int>(std::lround(dark * 255))));
        }
    return QPixmap::fromImage(image);
}

} // namespace

void paintSheetShadow(QPainter& painter, const QRect& sheet, double pixelRatio) {
    static double madeFor = 0;
    static QPixmap patch;
    if (std::exchange(madeFor, pixelRatio) != pixelRatio)
        patch = makePatch(pixelRatio);
    const int outside = reachFor(pixelRatio);
    const QRect around = sheet.adjusted(-outside, -outside, outside, outside);
    const int corner = std::min({2 * outside, around.width() / 2, around.height() / 2});
    qDrawBorderPixmap(&painter, around, {corner, corner, corner, corner}, patch, patch.rect(),
                      {corner, corner, corner, corner}, {Qt::StretchTile, Qt::StretchTile});
}

} // namespace lumivert
