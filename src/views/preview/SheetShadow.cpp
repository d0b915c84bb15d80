#include "views/preview/SheetShadow.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>

namespace lumivert {

namespace {

constexpr double opacity = 0.3;
constexpr double blurRadius = 8;
constexpr double offsetDown = 4;
// A blur of radius r is a Gaussian of standard deviation r / 2 (CSS Backgrounds 3, 6.1.1), which
// has faded out at three deviations.
constexpr double deviation = blurRadius / 2;
constexpr double reach = 3 * deviation;

/// The shadow of a sheet of one pixel in the middle of four corners, and how large the corners are.
struct NinePatch {
    QImage image;
    int outside = 0; // pixels beyond the sheet's edge
    int inside = 0;  // pixels within it
};

/// How dark the shadow of a half plane is `distance` inside its edge, 0 to 1.
double edgeProfile(double distance, double sigma) {
    return 0.5 * (1 + std::erf(distance / (sigma * std::sqrt(2.0))));
}

NinePatch makePatch(double pixelRatio) {
    NinePatch patch;
    const double sigma = deviation * pixelRatio;
    const double down = offsetDown * pixelRatio;
    patch.outside = static_cast<int>(std::ceil(reach * pixelRatio + down));
    patch.inside = patch.outside;
    const int corner = patch.outside + patch.inside;
    const int side = 2 * corner + 1;
    const double near = patch.outside;
    const double far = side - patch.outside;
    patch.image = QImage(side, side, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < side; ++y) {
        auto* line = reinterpret_cast<QRgb*>(patch.image.scanLine(y));
        const double v = y + 0.5 - down;
        const double rows = edgeProfile(v - near, sigma) * edgeProfile(far - v, sigma);
        for (int x = 0; x < side; ++x) {
            const double u = x + 0.5;
            const double columns = edgeProfile(u - near, sigma) * edgeProfile(far - u, sigma);
            line[x] = qRgba(0, 0, 0, static_cast<int>(std::lround(opacity * rows * columns * 255)));
        }
    }
    return patch;
}

const NinePatch& patchFor(double pixelRatio) {
    static double madeFor = 0;
    static NinePatch patch;
    if (madeFor != pixelRatio) {
        patch = makePatch(pixelRatio);
        madeFor = pixelRatio;
    }
    return patch;
}

} // namespace

void paintSheetShadow(QPainter& painter, const QRect& sheet, double pixelRatio) {
    const NinePatch& patch = patchFor(pixelRatio);
    const QRect around =
        sheet.adjusted(-patch.outside, -patch.outside, patch.outside, patch.outside);
    const int corner =
        std::min({patch.outside + patch.inside, around.width() / 2, around.height() / 2});
    const int side = patch.image.width();
    const std::array<int, 4> fromEdges{0, corner, side - corner, side};
    const std::array<int, 4> toX{around.left(), around.left() + corner, around.right() + 1 - corner,
                                 around.right() + 1};
    const std::array<int, 4> toY{around.top(), around.top() + corner, around.bottom() + 1 - corner,
                                 around.bottom() + 1};
    for (std::size_t j = 0; j < 3; ++j)
        for (std::size_t i = 0; i < 3; ++i) {
            if (i == 1 && j == 1)
                continue; // the sheet lies there
            const QRect to(toX[i], toY[j], toX[i + 1] - toX[i], toY[j + 1] - toY[j]);
            const QRect from(fromEdges[i], fromEdges[j], fromEdges[i + 1] - fromEdges[i],
                             fromEdges[j + 1] - fromEdges[j]);
            if (!to.isEmpty() && !from.isEmpty())
                painter.drawImage(to, patch.image, from);
        }
}

} // namespace lumivert
