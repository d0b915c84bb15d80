#include "views/preview/PaperPreview.h"

#include "manager/PrintManager.h"
#include "platform/ScreenColors.h"
#include "views/controls/Accessibility.h"
#include "views/controls/Appearance.h"
#include "views/controls/Labels.h"
#include "views/controls/Refresh.h"
#include "views/preview/PreviewTexts.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QScreen>
#include <QWindow>
#include <qdrawutil.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivert {

namespace {

constexpr double padding = 40;
constexpr double cornerRadius = 2;
constexpr double outlineWidth = 0.5;
constexpr double outlineDash = 4;
constexpr double shadowOpacity = 0.3;
constexpr double shadowOffset = 4;
// A blur of radius 8 is a Gaussian of half that standard deviation (CSS Backgrounds 3, 6.1.1),
// which has faded out at three deviations.
constexpr double deviation = 8 / 2.0;
constexpr double shadowReach = 3 * deviation + shadowOffset;

/// Edges at the nearest device pixels, counted from the view's corner, which itself need not lie on
/// one: `origin` is the view's place in its window.
QRect onPixels(RectPoints rect, QPointF origin, double pixelRatio) {
    const auto edge = [pixelRatio](double start, double place) {
        return static_cast<int>(std::lround((start + place) * pixelRatio) -
                                std::lround(start * pixelRatio));
    };
    const int left = edge(origin.x(), rect.x);
    const int top = edge(origin.y(), rect.y);
    return {left, top, edge(origin.x(), rect.x + rect.width) - left,
            edge(origin.y(), rect.y + rect.height) - top};
}

/// The shadow of a sheet of one pixel more than its shadow reaches inward from both edges, with
/// `outside` pixels around it: a nine patch, of which the middle is stretched.
QPixmap makeShadow(int outside, double pixelRatio) {
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
                shadowOpacity * across(x + 0.5) * across(y + 0.5 - shadowOffset * pixelRatio);
            image.setPixel(x, y, qRgba(0, 0, 0, static_cast<int>(std::lround(dark * 255))));
        }
    return QPixmap::fromImage(image);
}

} // namespace

PaperPreviewLayout paperPreviewLayout(double width, double height, const OrientedPaper& paper,
                                      const Margins& margins, bool borderless) {
    const RectPoints sheet = fitRect({paper.widthMM, paper.heightMM},
                                     {padding, padding, width - 2 * padding, height - 2 * padding});
    const double scaleX = sheet.width / paper.widthMM;
    const double scaleY = sheet.height / paper.heightMM;
    const Margins shown{.top = scaleY * margins.top,
                        .bottom = scaleY * margins.bottom,
                        .left = scaleX * margins.left,
                        .right = scaleX * margins.right};
    RectPoints printable = printableRect({sheet.width, sheet.height}, shown);
    printable.y = shown.top; // y runs downwards here
    const SizePoints framed{std::max(printable.width, 1.0), std::max(printable.height, 1.0)};
    const bool anyMargin = std::max({margins.top, margins.bottom, margins.left, margins.right}) > 0;
    return {.sheet = sheet,
            .frame = actualSizeRect(framed, printable),
            .outlined = !borderless && anyMargin};
}

void paintSheetShadow(QPainter& painter, const QRect& sheet, double pixelRatio) {
    static double madeFor = 0;
    static QPixmap patch;
    const int outside = static_cast<int>(std::ceil(shadowReach * pixelRatio));
    if (std::exchange(madeFor, pixelRatio) != pixelRatio)
        patch = makeShadow(outside, pixelRatio);
    const QRect around = sheet.adjusted(-outside, -outside, outside, outside);
    const int corner = std::min({2 * outside, around.width() / 2, around.height() / 2});
    qDrawBorderPixmap(&painter, around, {corner, corner, corner, corner}, patch, patch.rect(),
                      {corner, corner, corner, corner}, {Qt::StretchTile, Qt::StretchTile});
}

PaperPreview::PaperPreview(PrintManager& pm, ScreenColors* screens)
    : m_pm(pm)
    , m_screens(screens) {
    if (screens)
        m_screenSubscription = screens->subscribe([this] { refresh(); });
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    withRole(QAccessible::Graphic, this);
    setAccessibleName(tr("Paper preview"));
    connect(&m_photo, &PhotoLayer::settled, this, &PaperPreview::updateSheet);
    whenRefreshed(this, [this] { refresh(); });
}

void PaperPreview::refresh() {
    if (m_photo.setRendition(m_pm.previewRendition(),
                             m_screens ? m_screens->conversionFor(screen()->name().toStdString())
                                       : nullptr))
        update();
    takePicture();
    setAccessibleDescription(QString::fromStdString(previewSentence(m_pm)));
    setToolTip(plainToolTip(QString::fromStdString(proofTrouble(m_pm))));
}

PaperPreview::Picture PaperPreview::pictureNow() const {
    Picture picture;
    picture.pixelRatio = devicePixelRatioF();
    const OrientedPaper paper =
        orientedPaper(m_pm.selectedPaperSize(), m_pm.effectiveOrientation());
    picture.layout =
        paperPreviewLayout(width(), height(), paper, m_pm.effectiveMargins(), m_pm.borderless);
    const RectPoints& sheet = picture.layout.sheet;
    if (!hasArea(sheet))
        return picture;

    RectPoints frame = picture.layout.frame;
    frame.x += sheet.x;
    frame.y += sheet.y;
    const QPointF origin = mapTo(window(), QPointF(0, 0));
    picture.sheet = onPixels(sheet, origin, picture.pixelRatio);
    picture.frame = onPixels(frame, origin, picture.pixelRatio);
    if (const std::shared_ptr<const Image>& image = m_pm.image) {
        const RectPoints photo = scalingRule(m_pm.scalingMode).inPreview(image->size(), frame);
        if (hasArea(photo)) {
            picture.photo = onPixels(photo, origin, picture.pixelRatio);
            picture.photoBox = picture.photo & picture.frame & picture.sheet;
        }
    }
    return picture;
}

void PaperPreview::takePicture() {
    const Picture before = std::exchange(m_picture, pictureNow());
    if (m_picture.sheet != before.sheet || m_picture.pixelRatio != before.pixelRatio)
        update();
    else if (m_picture != before)
        updateSheet();
}

void PaperPreview::updateSheet() {
    const RectPoints& sheet = m_picture.layout.sheet;
    update(QRectF(sheet.x, sheet.y, sheet.width, sheet.height).toAlignedRect());
}

void PaperPreview::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    connect(window()->windowHandle(), &QWindow::screenChanged, this, &PaperPreview::refresh,
            Qt::UniqueConnection);
    refresh();
}

void PaperPreview::resizeEvent(QResizeEvent*) {
    takePicture();
}

void PaperPreview::paintEvent(QPaintEvent* event) {
    // The pixel ratio may have changed with the screen, the place with a neighbour's size.
    m_picture = pictureNow();
    const QRect& sheet = m_picture.sheet;
    const double ratio = m_picture.pixelRatio;
    QPainter painter(this);
    painter.scale(1 / ratio, 1 / ratio);
    // Clipped to one rectangle at a time, for which QPainter is several times faster than for a
    // region or a path.
    for (const QRect& rect : QTransform::fromScale(ratio, ratio).map(event->region()) - sheet) {
        painter.setClipRect(rect);
        paintGround(painter);
    }
    if (sheet.isEmpty())
        return;
    painter.setClipRect(sheet);
    paintSheet(painter);
    if (m_picture.layout.outlined)
        paintOutline(painter);
    // The ground once more, over what the sheet's round corners leave free of it.
    QPainterPath corners;
    corners.addRect(sheet);
    corners.addRoundedRect(sheet, cornerRadius * ratio, cornerRadius * ratio);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipPath(corners);
    paintGround(painter);
}

void PaperPreview::paintGround(QPainter& painter) const {
    painter.fillRect(painter.clipBoundingRect(), previewGround(palette()));
    if (!m_picture.sheet.isEmpty())
        paintSheetShadow(painter, m_picture.sheet, m_picture.pixelRatio);
}

void PaperPreview::paintSheet(QPainter& painter) {
    const QRect& box = m_picture.photoBox;
    for (const QRect& rect : QRegion(m_picture.sheet) - (m_photo.hasPhoto() ? box : QRect()))
        painter.fillRect(rect, Qt::white);
    m_photo.paint(painter, m_picture.photo, box);
}

void PaperPreview::paintOutline(QPainter& painter) const {
    const double width = outlineWidth * m_picture.pixelRatio;
    QPen pen(QColor::fromRgbF(0.5F, 0.5F, 0.5F, 0.4F), width, Qt::CustomDashLine, Qt::FlatCap,
             Qt::MiterJoin);
    pen.setMiterLimit(10);
    const double dash = outlineDash / outlineWidth; // in widths of the pen
    pen.setDashPattern({dash, dash});
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(pen);
    painter.drawRect(
        QRectF(m_picture.frame).adjusted(width / 2, width / 2, -width / 2, -width / 2));
}

} // namespace lumivert
