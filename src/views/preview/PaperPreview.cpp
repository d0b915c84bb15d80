#include "views/preview/PaperPreview.h"

#include "manager/PrintManager.h"
#include "platform/ScreenColors.h"
#include "views/controls/Appearance.h"
#include "views/controls/Labels.h"
#include "views/controls/Refresh.h"
#include "views/preview/PreviewTexts.h"
#include "views/preview/SheetShadow.h"

#include <QAccessibleWidget>
#include <QEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <cmath>
#include <utility>

namespace lumivert {

namespace {

constexpr double cornerRadius = 2;
constexpr double outlineWidth = 0.5;
constexpr double outlineDash = 4;

QAccessibleInterface* accessiblePicture(const QString&, QObject* object) {
    auto* preview = qobject_cast<PaperPreview*>(object);
    return preview ? new QAccessibleWidget(preview, QAccessible::Graphic) : nullptr;
}

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

PaperPreview::PaperPreview(PrintManager& pm, ScreenColors* screens, QWidget* parent)
    : QWidget(parent)
    , m_pm(pm)
    , m_screens(screens) {
    if (screens)
        m_screenSubscription = screens->subscribe([this] { refresh(); });
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    [[maybe_unused]] static const bool installed =
        (QAccessible::installFactory(accessiblePicture), true);
    setAccessibleName(tr("Paper preview"));
    connect(&m_photo, &PhotoLayer::settled, this, &PaperPreview::updateSheet);
    whenRefreshed(this, [this] { refresh(); });
}

void PaperPreview::refresh() {
    const Picture before = std::exchange(m_picture, pictureNow());
    if (m_photo.setRendition(m_pm.previewRendition(),
                             m_screens ? m_screens->conversionFor(screen()->name().toStdString())
                                       : nullptr))
        update();
    updateFrom(before);
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

    const RectPoints photo = scalingRule(m_pm.scalingMode).inPreview(image->size(), frame);
    if (!hasArea(photo))
        return picture;
    picture.photo = onPixels(photo, origin, picture.pixelRatio);
    picture.photoBox = picture.photo & picture.frame & picture.sheet;
    return picture;
}

void PaperPreview::updateFrom(const Picture& before) {
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
    const Picture before = std::exchange(m_picture, pictureNow());
    updateFrom(before);
}

void PaperPreview::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        update();
}

int PaperPreview::Picture::cornerSide() const {
    return static_cast<int>(std::ceil(cornerRadius * pixelRatio));
}

std::array<QRect, 3> PaperPreview::Picture::covered() const {
    const int corner = cornerSide();
    const QRect middle = sheet.adjusted(0, corner, 0, -corner);
    const QRect top(sheet.left() + corner, sheet.top(), sheet.width() - 2 * corner, corner);
    return {middle, top, top.translated(0, sheet.height() - corner)};
}

QPainterPath PaperPreview::Picture::rounded() const {
    QPainterPath path;
    path.addRoundedRect(QRectF(sheet), cornerRadius * pixelRatio, cornerRadius * pixelRatio);
    return path;
}

void PaperPreview::paintEvent(QPaintEvent* event) {
    // The pixel ratio may have changed with the screen, the place with a neighbour's size.
    m_picture = pictureNow();
    QPainter painter(this);
    const double pixelRatio = m_picture.pixelRatio;
    painter.scale(1 / pixelRatio, 1 / pixelRatio);
    const QRegion region = QTransform::fromScale(pixelRatio, pixelRatio).map(event->region());
    if (m_picture.sheet.isEmpty()) {
        paintGround(painter, region.boundingRect());
        return;
    }
    // Clipped to one rectangle at a time, for which QPainter is several times faster than for a
    // region.
    paintAround(painter, region);
    for (const QRect& rect : m_picture.covered()) {
        painter.setClipRect(rect & region.boundingRect());
        paintSheet(painter);
    }
    paintCorners(painter);
    if (m_picture.layout.outlined)
        paintOutline(painter);
}

void PaperPreview::paintAround(QPainter& painter, const QRegion& region) const {
    QRegion around = region;
    for (const QRect& rect : m_picture.covered())
        around -= rect;
    for (const QRect& rect : around) {
        painter.setClipRect(rect);
        paintGround(painter, rect);
        paintSheetShadow(painter, m_picture.sheet, m_picture.pixelRatio);
    }
}

void PaperPreview::paintCorners(QPainter& painter) {
    QRegion corners(m_picture.sheet);
    for (const QRect& rect : m_picture.covered())
        corners -= rect;
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath rounded = m_picture.rounded();
    for (const QRect& rect : corners) {
        painter.setClipRect(rect);
        painter.setClipPath(rounded, Qt::IntersectClip);
        paintSheet(painter);
    }
}

void PaperPreview::paintGround(QPainter& painter, const QRect& rect) const {
    painter.fillRect(rect, previewGround(palette()));
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
    painter.save();
    const int corner = m_picture.cornerSide();
    const bool clearOfCorners =
        m_picture.sheet.adjusted(corner, corner, -corner, -corner).contains(m_picture.frame);
    painter.setClipRect(m_picture.sheet);
    if (!clearOfCorners)
        painter.setClipPath(m_picture.rounded(), Qt::IntersectClip);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(
        QRectF(m_picture.frame).adjusted(width / 2, width / 2, -width / 2, -width / 2));
    painter.restore();
}

} // namespace lumivert
