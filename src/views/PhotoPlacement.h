#pragma once

#include <QImage>
#include <QRectF>
#include <QSize>

namespace lumivert {

/// The photo over the pixels of an image: of `size`, onto whose coordinates the whole photo falls
/// in `photo` (which may overhang it; where it does not reach, its border pixels go on).
struct PhotoPlacement {
    QSize size;
    QRectF photo;

    bool operator==(const PhotoPlacement&) const = default;
};

/// Whether there is a photo and a place for it.
[[nodiscard]] inline bool canScale(const QImage& level, const PhotoPlacement& placement) {
    return !level.isNull() && !placement.size.isEmpty() && placement.photo.width() > 0 &&
           placement.photo.height() > 0;
}

} // namespace lumivert
