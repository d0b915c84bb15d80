#include "views/preview/PhotoLayer.h"

#include <QPainter>
#include <QThread>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <new>
#include <utility>

namespace lumivert {

namespace {

using namespace std::chrono_literals;

constexpr auto settlingTime = 120ms;

// The painter's bilinear filter takes 5 ns a pixel on two cores; beyond these it misses the frame of
// a screen, and the nearest pixels of the level stand in until the picture is settled.
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

PhotoPyramid::PhotoPyramid(std::shared_ptr<const ScreenRendition> rendition,
                           std::shared_ptr<const ScreenConversion> screen)
    : m_rendition(std::move(rendition))
    , m_screen(std::move(screen))
    , m_levels{wrap(m_rendition)} {}

QImage PhotoPyramid::levelFor(QSize size) {
    const std::size_t index = indexFor(size);
    if (!m_screen || m_levels[index].isNull())
        return m_levels[index];
    if (m_shown.isNull() || m_shownIndex != index) {
        m_shown = m_levels[index].copy();
        m_shownIndex = index;
        // No line has padding: a pixel is four bytes.
        if (!m_shown.isNull())
            (*m_screen)({reinterpret_cast<std::uint32_t*>(m_shown.bits()),
                         static_cast<std::size_t>(m_shown.sizeInBytes()) / 4});
    }
    return m_shown;
}

std::size_t PhotoPyramid::indexFor(QSize size) {
    for (std::size_t level = 0;; ++level) {
        const QSize half(m_levels[level].width() / 2, m_levels[level].height() / 2);
        if (half.isEmpty() || half.width() < size.width() || half.height() < size.height())
            return level;
        if (level + 1 < m_levels.size())
            continue;
        QImage halved =
            m_levels[level].scaled(half, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        if (halved.isNull())
            return level;
        m_levels.push_back(std::move(halved));
    }
}

PhotoLayer::PhotoLayer(QObject* parent)
    : QObject(parent) {
    m_still.setSingleShot(true);
    connect(&m_still, &QTimer::timeout, this, &PhotoLayer::settle);
}

PhotoLayer::~PhotoLayer() {
    if (m_worker)
        m_worker->wait();
}

bool PhotoLayer::setRendition(std::shared_ptr<const ScreenRendition> rendition,
                              std::shared_ptr<const ScreenConversion> screen) {
    if (m_pyramid ? m_pyramid->isOf(rendition, screen) : !rendition)
        return false;
    m_pyramid = rendition ? std::make_unique<PhotoPyramid>(std::move(rendition), std::move(screen))
                          : nullptr;
    m_still.stop();
    m_part = {};
    m_settled = {};
    m_inWork = {};
    m_isFirst = true;
    return true;
}

void PhotoLayer::paint(QPainter& painter, const QRect& photo, const QRect& box) {
    if (!m_pyramid || box.isEmpty() || photo.isEmpty())
        return;
    const Part part{photo.translated(-box.topLeft()), box.size()};
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
    painter.drawImage(photo, m_pyramid->levelFor(photo.size()));
    painter.restore();
}

QImage PhotoLayer::scaledPart(const QImage& level, const Part& part) {
    // Scaled is what shows and no more: a long panorama that fills the sheet would be many times
    // larger. It is cut between pixels of the level, and so by less than half a pixel beside the
    // place that it would have in the whole.
    const double across = double(level.width()) / part.photo.width();
    const double down = double(level.height()) / part.photo.height();
    const QRect cut = QRectF(-part.photo.x() * across, -part.photo.y() * down,
                             part.size.width() * across, part.size.height() * down)
                          .toAlignedRect() &
                      level.rect();
    const auto edge = [](double start, double length) {
        return static_cast<int>(std::lround(start + length));
    };
    const QPoint from(edge(part.photo.x(), cut.left() / across),
                      edge(part.photo.y(), cut.top() / down));
    const QPoint to(edge(part.photo.x(), (cut.right() + 1) / across),
                    edge(part.photo.y(), (cut.bottom() + 1) / down));
    return level.copy(cut)
        .scaled(to.x() - from.x(), to.y() - from.y(), Qt::IgnoreAspectRatio,
                Qt::SmoothTransformation)
        .copy(QRect(-from, part.size));
}

void PhotoLayer::settle() {
    if (!m_pyramid || m_part.size.isEmpty() || m_worker)
        return; // the worker asks again when it is done
    m_inWork = m_part;
    m_made = {};
    m_worker.reset(
        QThread::create([this, level = m_pyramid->levelFor(m_part.photo.size()), part = m_part] {
            try {
                m_made = scaledPart(level, part);
            } catch (const std::bad_alloc&) {
                m_made = {};
            }
        }));
    connect(m_worker.get(), &QThread::finished, this, &PhotoLayer::takeMade);
    // A thread pool keeps the task of a thread that could not be started, and waits for it at the
    // program's end.
    m_worker->start();
    if (!m_worker->isRunning() && !m_worker->isFinished())
        m_worker.reset();
}

void PhotoLayer::takeMade() {
    m_worker.reset();
    if (m_inWork != m_part) {
        if (!m_still.isActive())
            settle();
        return;
    }
    m_settled = std::exchange(m_made, {});
    if (isSettled())
        emit settled();
}

} // namespace lumivert
