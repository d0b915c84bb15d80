#include "views/preview/PhotoPyramid.h"

#include <cstdint>
#include <utility>

namespace lumivert {

namespace {

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
            m_screen->convert({reinterpret_cast<std::uint32_t*>(m_shown.bits()),
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

} // namespace lumivert
