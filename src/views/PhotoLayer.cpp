#include "views/PhotoLayer.h"

#include "views/DraftPhoto.h"
#include "views/FinePhoto.h"

#include <QCoreApplication>
#include <QPaintEngine>
#include <QPainter>
#include <QPointer>
#include <QThreadPool>

#include <chrono>
#include <utility>

namespace lumivert {

namespace {

using namespace std::chrono_literals;

constexpr auto settlingTime = 120ms;

/// The image that `painter` paints on, where it is one whose pixels a draft can be written to.
QImage* imageUnder(const QPainter& painter) {
    QPaintDevice* device = painter.paintEngine()->paintDevice();
    if (!device || device->devType() != QInternal::Image)
        return nullptr;
    auto* image = static_cast<QImage*>(device);
    const bool suits = image->format() == QImage::Format_RGB32 ||
                       image->format() == QImage::Format_ARGB32_Premultiplied;
    return suits ? image : nullptr;
}

} // namespace

PhotoLayer::PhotoLayer(QObject* parent)
    : QObject(parent) {
    m_settled.setSingleShot(true);
    connect(&m_settled, &QTimer::timeout, this, &PhotoLayer::startFine);
}

PhotoLayer::~PhotoLayer() {
    abandonFine();
}

bool PhotoLayer::setRendition(std::shared_ptr<const ScreenRendition> rendition) {
    if (rendition == (m_pyramid ? m_pyramid->rendition() : nullptr))
        return false;
    abandonFine();
    m_pyramid = rendition ? std::make_unique<PhotoPyramid>(std::move(rendition)) : nullptr;
    m_image = {};
    m_placement = {};
    m_isFirst = true;
    return true;
}

bool PhotoLayer::paintDraft(QPainter& painter, QPoint origin, const PhotoPlacement& placement) {
    const bool atHand = !m_image.isNull() && m_placement == placement;
    if (!m_pyramid || atHand || draftDensity(placement.size) == 1)
        return false;
    QImage* target = imageUnder(painter);
    const QTransform transform = painter.deviceTransform();
    if (!target || transform.type() > QTransform::TxTranslate)
        return false;
    const QRect place(transform.map(origin), placement.size);
    if (!target->rect().contains(place))
        return false;
    // The painter holds no other reference, so that these are the very pixels.
    auto* bits = const_cast<uchar*>(target->constScanLine(place.top())) + 4 * place.left();
    if (!draftPhotoInto({bits, target->bytesPerLine()}, levelForDraft(placement), placement))
        return false;
    m_image = {};
    noteDraft(placement);
    return true;
}

const QImage& PhotoLayer::image(const PhotoPlacement& placement) {
    if (!m_image.isNull() && m_placement == placement)
        return m_image;
    m_image = m_pyramid ? draftPhoto(levelForDraft(placement), placement) : QImage();
    noteDraft(placement);
    return m_image;
}

QImage PhotoLayer::levelForDraft(const PhotoPlacement& placement) {
    return m_pyramid->levelFor(placement.photo.size(), draftDensity(placement.size));
}

void PhotoLayer::noteDraft(const PhotoPlacement& placement) {
    abandonFine();
    m_placement = placement;
    ++m_draftCount;
    m_settled.start(m_isFirst ? 0ms : settlingTime);
    m_isFirst = false;
}

void PhotoLayer::abandonFine() {
    m_settled.stop();
    if (m_abandoned)
        *m_abandoned = true;
    m_abandoned = nullptr;
}

void PhotoLayer::startFine() {
    if (!m_pyramid || m_placement.size.isEmpty())
        return;
    m_abandoned = std::make_shared<std::atomic<bool>>(false);
    const QImage level = m_pyramid->levelFor(m_placement.photo.size(), 2);
    QThreadPool::globalInstance()->start([layer = QPointer<PhotoLayer>(this), level,
                                          placement = m_placement, abandoned = m_abandoned] {
        const QImage image = finePhoto(level, placement, *abandoned);
        if (image.isNull())
            return;
        QMetaObject::invokeMethod(
            qApp,
            [layer, placement, image, abandoned] {
                if (layer && !*abandoned)
                    layer->takeFine(placement, image);
            },
            Qt::QueuedConnection);
    });
}

void PhotoLayer::takeFine(const PhotoPlacement& placement, const QImage& image) {
    m_image = image;
    m_placement = placement;
    ++m_fineCount;
    emit refined();
}

} // namespace lumivert
