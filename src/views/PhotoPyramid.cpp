#include "views/PhotoPyramid.h"

#include "views/Bands.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace lumivert {

namespace {

// Four channels of two neighbours, worked on at once (GCC and Clang vectors).
using Bytes8 [[gnu::vector_size(8)]] = std::uint8_t;
using Words8 [[gnu::vector_size(16)]] = std::uint16_t;

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

QImage halved(const QImage& image) {
    const int width = image.width() / 2;
    const int height = image.height() / 2;
    QImage half(width, height, QImage::Format_RGB32);
    uchar* bits = half.bits();
    const qsizetype stride = half.bytesPerLine();
    inBands(height, static_cast<std::int64_t>(width) * height, [&](int first, int last) {
        for (int y = first; y < last; ++y) {
            const uchar* above = image.constScanLine(2 * y);
            const uchar* below = image.constScanLine(2 * y + 1);
            uchar* out = bits + y * stride;
            for (int x = 0; x < width; ++x) {
                Bytes8 a;
                Bytes8 b;
                std::memcpy(&a, above + 8 * x, sizeof a);
                std::memcpy(&b, below + 8 * x, sizeof b);
                const Words8 sum =
                    __builtin_convertvector(a, Words8) + __builtin_convertvector(b, Words8);
                for (int c = 0; c < 4; ++c)
                    out[4 * x + c] = static_cast<uchar>((sum[c] + sum[c + 4] + 2) / 4);
            }
        }
    });
    return half;
}

} // namespace

PhotoPyramid::PhotoPyramid(std::shared_ptr<const ScreenRendition> rendition)
    : m_rendition(std::move(rendition))
    , m_levels{wrap(m_rendition)} {}

QImage PhotoPyramid::levelFor(QSizeF size, double factor) {
    const double width = size.width() * factor;
    const double height = size.height() * factor;
    std::size_t level = 0;
    while (true) {
        const int halfWidth = m_levels[level].width() / 2;
        const int halfHeight = m_levels[level].height() / 2;
        if (halfWidth < 1 || halfHeight < 1 || halfWidth < width || halfHeight < height)
            return m_levels[level];
        if (++level == m_levels.size())
            m_levels.push_back(halved(m_levels[level - 1]));
    }
}

} // namespace lumivert
