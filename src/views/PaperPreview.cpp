#include "views/PaperPreview.h"

#include "manager/PrintManager.h"
#include "views/SheetShadow.h"
#include "views/controls/Appearance.h"
#include "views/controls/Refresh.h"

#include <QApplication>
#include <QEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QThreadPool>

#include <chrono>
#include <cmath>
#include <utility>

namespace lumivert {

namespace {

using namespace std::chrono_literals;

constexpr auto settlingTime = 120ms;
constexpr double cornerRadius = 2;
constexpr double outlineWidth = 0.5;
constexpr double outlineDash = 4;

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

} // namespace

PaperPreview::PaperPreview(PrintManager& pm, QWidget* parent)
    : QWidget(parent)
    , m_pm(pm) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAccessibleName(tr("Paper preview"));
    m_settled.setSingleShot(true);
    connect(&m_settled, &QTimer::timeout, this, &PaperPreview::startFine);
    whenRefreshed(this, [this] { refresh(); });
}

PaperPreview::~PaperPreview() {
    abandonFine();
}

void PaperPreview::refresh() {
    const Picture before = std::exchange(m_picture, pictureNow());
    takeRendition();
    updateFrom(before);
}

void PaperPreview::takeRendition() {
    const auto rendition = m_pm.previewRendition();
    if (rendition == (m_pyramid ? m_pyramid->rendition() : nullptr))
        return;
    m_pyramid = rendition ? std::make_unique<PhotoPyramid>(rendition) : nullptr;
    m_scaled = {};
    abandonFine();
    update();
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

    const QPointF origin = mapTo(window(), QPointF(0, 0));
    const auto inView = [&sheet](RectPoints rect) {
        return RectPoints{sheet.x + rect.x, sheet.y + rect.y, rect.width, rect.height};
    };
    const RectPoints frame = inView(picture.layout.frame);
    picture.sheet = onPixels(sheet, origin, picture.pixelRatio);
    picture.frame = onPixels(frame, origin, picture.pixelRatio);
    const std::shared_ptr<const Image>& image = m_pm.image;
    if (!image)
        return picture;

    const RectPoints photo = previewImageRect(image->size(), frame, m_pm.scalingMode);
    if (!hasArea(photo))
        return picture;
    const bool fills = m_pm.scalingMode.get() == ScalingMode::fillPage;
    const QRect photoPixels = onPixels(photo, origin, picture.pixelRatio);
    picture.photoBox = (fills ? picture.frame : photoPixels) & picture.sheet;
    picture.photo.size = picture.photoBox.size();
    // A fitted photo lies on whole pixels; a filling one keeps its place to a part of a pixel.
    const QRectF whole =
        fills ? QRectF(photo.x * picture.pixelRatio, photo.y * picture.pixelRatio,
                       photo.width * picture.pixelRatio, photo.height * picture.pixelRatio)
              : QRectF(photoPixels);
    picture.photo.photo = whole.translated(-picture.photoBox.topLeft());
    return picture;
}

void PaperPreview::updateFrom(const Picture& before) {
    if (m_picture == before)
        return;
    if (m_picture.sheet != before.sheet || m_picture.pixelRatio != before.pixelRatio) {
        update();
        return;
    }
    const RectPoints& sheet = m_picture.layout.sheet;
    update(QRectF(sheet.x, sheet.y, sheet.width, sheet.height).toAlignedRect());
}

void PaperPreview::resizeEvent(QResizeEvent*) {
    const Picture before = std::exchange(m_picture, pictureNow());
    updateFrom(before);
}

void PaperPreview::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        update();
}

void PaperPreview::scaleDraft() {
    if (!m_scaled.isNull() && m_scaledPlacement == m_picture.photo)
        return;
    abandonFine();
    const bool first = m_scaled.isNull();
    m_scaled = draftPhoto(
        m_pyramid->levelFor(m_picture.photo.photo.size(), draftDensity(m_picture.photo.size)),
        m_picture.photo);
    m_scaledPlacement = m_picture.photo;
    ++m_draftCount;
    m_settled.start(first ? 0ms : settlingTime);
}

void PaperPreview::abandonFine() {
    m_settled.stop();
    if (m_abandoned)
        *m_abandoned = true;
    m_abandoned = nullptr;
}

void PaperPreview::startFine() {
    if (!m_pyramid || m_picture.photo.size.isEmpty())
        return;
    m_abandoned = std::make_shared<std::atomic<bool>>(false);
    const QImage level = m_pyramid->levelFor(m_picture.photo.photo.size(), 2);
    QThreadPool::globalInstance()->start([preview = QPointer<PaperPreview>(this), level,
                                          placement = m_picture.photo, abandoned = m_abandoned] {
        const QImage image = finePhoto(level, placement, *abandoned);
        if (image.isNull())
            return;
        QMetaObject::invokeMethod(
            qApp,
            [preview, placement, image, abandoned] {
                if (preview && !*abandoned)
                    preview->takeFine(placement, image);
            },
            Qt::QueuedConnection);
    });
}

void PaperPreview::takeFine(const PhotoPlacement& placement, const QImage& image) {
    m_scaled = image;
    m_scaledPlacement = placement;
    ++m_fineCount;
    const RectPoints& sheet = m_picture.layout.sheet;
    update(QRectF(sheet.x, sheet.y, sheet.width, sheet.height).toAlignedRect());
}

void PaperPreview::paintEvent(QPaintEvent* event) {
    // The pixel ratio may have changed with the screen, the place with a neighbour's size.
    m_picture = pictureNow();
    if (m_pyramid && !m_picture.photo.size.isEmpty())
        scaleDraft();

    QPainter painter(this);
    const double pixelRatio = m_picture.pixelRatio;
    painter.scale(1 / pixelRatio, 1 / pixelRatio);
    const QRegion region = QTransform::fromScale(pixelRatio, pixelRatio).map(event->region());
    const QRect& sheet = m_picture.sheet;
    if (sheet.isEmpty()) {
        paintGround(painter, region.boundingRect());
        return;
    }

    // The corners alone are blended: everything else of the sheet covers what lies below. Clipped
    // to one rectangle at a time, for which QPainter is several times faster than for a region.
    const int corner = static_cast<int>(std::ceil(cornerRadius * pixelRatio));
    const QRect middle = sheet.adjusted(0, corner, 0, -corner);
    const QRect top(sheet.left() + corner, sheet.top(), sheet.width() - 2 * corner, corner);
    const QRect bottom = top.translated(0, sheet.height() - corner);
    const QRegion covered = QRegion(middle) + top + bottom;

    for (const QRect& rect : region - covered) {
        painter.setClipRect(rect);
        paintGround(painter, rect);
        paintSheetShadow(painter, sheet, pixelRatio);
    }
    for (const QRect& rect : {middle, top, bottom}) {
        painter.setClipRect(rect & region.boundingRect());
        paintSheet(painter);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath rounded;
    rounded.addRoundedRect(QRectF(sheet), cornerRadius * pixelRatio, cornerRadius * pixelRatio);
    for (const QRect& rect : QRegion(sheet) - covered) {
        painter.setClipRect(rect);
        painter.setClipPath(rounded, Qt::IntersectClip);
        paintSheet(painter);
    }
    if (!m_picture.layout.outlined)
        return;
    const bool clearOfCorners =
        sheet.adjusted(corner, corner, -corner, -corner).contains(m_picture.frame);
    painter.setClipRect(sheet);
    if (!clearOfCorners)
        painter.setClipPath(rounded, Qt::IntersectClip);
    paintOutline(painter);
}

void PaperPreview::paintGround(QPainter& painter, const QRect& rect) const {
    painter.fillRect(rect, previewGround(palette()));
}

void PaperPreview::paintSheet(QPainter& painter) const {
    const QRect& box = m_picture.photoBox;
    const bool photo = m_pyramid && !m_scaled.isNull() && !box.isEmpty();
    const QRegion blank = QRegion(m_picture.sheet) - (photo ? QRegion(box) : QRegion());
    for (const QRect& rect : blank)
        painter.fillRect(rect, Qt::white);
    if (photo)
        painter.drawImage(box.topLeft(), m_scaled);
}

void PaperPreview::paintOutline(QPainter& painter) const {
    const double width = outlineWidth * m_picture.pixelRatio;
    QPen pen(QColor::fromRgbF(0.5F, 0.5F, 0.5F, 0.4F), width, Qt::CustomDashLine, Qt::FlatCap,
             Qt::MiterJoin);
    pen.setMiterLimit(10);
    const double dash = outlineDash / outlineWidth; // in widths of the pen
    pen.setDashPattern({dash, dash});
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(
        QRectF(m_picture.frame).adjusted(width / 2, width / 2, -width / 2, -width / 2));
    painter.restore();
}

} // namespace lumivert
