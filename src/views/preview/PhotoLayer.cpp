#include "views/preview/PhotoLayer.h"

#include <QPainter>
#include <QTransform>

#include <chrono>
#include <cstdint>
#include <new>
#include <system_error>
#include <utility>

namespace lumivert {

namespace {

using namespace std::chrono_literals;

constexpr auto settlingTime = 120ms;

// The painter's bilinear filter takes 5 ns a pixel on two cores; beyond these it misses the frame
// of a screen, and the nearest pixels of the level stand in until the picture is settled.
constexpr std::int64_t mostSmoothPixels = 1'500'000;

QImage wrap(const std::shared_ptr<const ScreenRendition>& rendition) {
    if (rendition->size.width <= 0 || rendition->size.height <= 0)
        return {};
    auto* keepAlive = new std::shared_ptr<const ScreenRendition>(rendition);
    return {reinterpret_cast<const uchar*>(rendition->pixels.view.data()),
            rendition->size.width,
            rendition->size.height,
            static_cast<qsizetype>(rendition->size.width) * 4,
            QImage::Format_RGB32,
            [](void* kept) { delete static_cast<std::shared_ptr<const ScreenRendition>*>(kept); },
            keepAlive};
}

} // namespace

PhotoPyramid::PhotoPyramid(const std::shared_ptr<const ScreenRendition>& rendition,
                           std::shared_ptr<const ScreenConversion> screen)
    : m_screen(std::move(screen))
    , m_levels{{wrap(rendition)}} {}

QImage PhotoPyramid::levelFor(QSize size) {
    Level& level = smallestFor(size);
    if (!m_screen || level.isConverted)
        return level.pixels;
    QImage converted = level.pixels.copy();
    if (converted.isNull())
        return level.pixels;
    // No line has padding: a pixel is four bytes.
    (*m_screen)({reinterpret_cast<std::uint32_t*>(converted.bits()),
                 static_cast<std::size_t>(converted.sizeInBytes()) / 4});
    level = {std::move(converted), true};
    return level.pixels;
}

PhotoPyramid::Level& PhotoPyramid::smallestFor(QSize size) {
    for (std::size_t index = 0;; ++index) {
        Level& level = m_levels[index];
        const QSize half(level.pixels.width() / 2, level.pixels.height() / 2);
        if (half.isEmpty() || half.width() < size.width() || half.height() < size.height())
            return level;
        if (index + 1 < m_levels.size())
            continue;
        Level halved{level.pixels.scaled(half, Qt::IgnoreAspectRatio, Qt::SmoothTransformation),
                     level.isConverted};
        if (halved.pixels.isNull())
            return level;
        m_levels.push_back(std::move(halved));
    }
}

PhotoLayer::PhotoLayer(QObject* parent)
    : QObject(parent) {
    m_still.setSingleShot(true);
    connect(&m_still, &QTimer::timeout, this, &PhotoLayer::settle);
}

bool PhotoLayer::setRendition(std::shared_ptr<const ScreenRendition> rendition,
                              std::shared_ptr<const ScreenConversion> screen) {
    if (rendition == m_rendition && screen == m_screen)
        return false;
    m_rendition = std::move(rendition);
    m_screen = std::move(screen);
    m_pyramid = m_rendition ? std::make_unique<PhotoPyramid>(m_rendition, m_screen) : nullptr;
    m_still.stop();
    m_part = {};
    m_settled = {};
    m_isFirst = true;
    return true;
}

void PhotoLayer::paint(QPainter& painter, const QRect& photo, const QRect& box) {
    if (!m_pyramid || box.isEmpty() || photo.isEmpty())
        return;
    const Part part{m_pyramid->levelFor(photo.size()), photo.translated(-box.topLeft()),
                    box.size()};
    if (part.level.isNull())
        return;
    if (part != m_part) {
        m_part = part;
        m_settled = {};
        m_still.start(m_isFirst ? 0ms : settlingTime);
        m_isFirst = false;
    }
    if (isSettled()) {
        painter.drawImage(box.topLeft(), m_settled);
        return;
    }
    painter.save();
    painter.setClipRect(box, Qt::IntersectClip);
    painter.setRenderHint(QPainter::SmoothPixmapTransform,
                          std::int64_t{box.width()} * box.height() < mostSmoothPixels);
    painter.drawImage(photo, part.level);
    painter.restore();
}

QImage PhotoLayer::scaledPart(const Part& part) {
    // Scaled is what shows and no more: a long panorama that fills the sheet would be many times
    // larger. It is cut between pixels of the level, and so by less than half a pixel beside the
    // place that it would have in the whole.
    const QImage& level = part.level;
    const QTransform fromLevel = QTransform::fromTranslate(part.photo.x(), part.photo.y())
                                     .scale(double(part.photo.width()) / level.width(),
                                            double(part.photo.height()) / level.height());
    const QRect cut =
        fromLevel.inverted().mapRect(QRectF({}, part.size)).toAlignedRect() & level.rect();
    const QRect place = fromLevel.mapRect(QRectF(cut)).toRect();
    return level.copy(cut)
        .scaled(place.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .copy(QRect(-place.topLeft(), part.size));
}

void PhotoLayer::settle() {
    if (!m_pyramid || m_part.size.isEmpty())
        return;
    try {
        // The thread before has ended long ago, or is waited for.
        m_worker = std::jthread([this, part = m_part] {
            QImage made;
            try {
                made = scaledPart(part);
            } catch (const std::bad_alloc&) {
            }
            QMetaObject::invokeMethod(
                this, [this, part, made] { take(part, made); }, Qt::QueuedConnection);
        });
    } catch (const std::system_error&) { // no further thread
    }
}

void PhotoLayer::take(const Part& part, const QImage& made) {
    if (part != m_part)
        return; // the timer that runs for what is painted now makes another
    m_settled = made;
    if (isSettled())
        emit settled();
}

} // namespace lumivert
