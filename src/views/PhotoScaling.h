#pragma once

#include "platform/Image.h"

#include <QImage>
#include <QRectF>
#include <QSize>

#include <atomic>
#include <memory>
#include <vector>

namespace lumivert {

/// A photo's pixels at full, half, quarter … size, each made from the one before by averaging two
/// by two pixels, when it is first asked for. The full size is the rendition's own bytes.
class PhotoPyramid {
public:
    explicit PhotoPyramid(std::shared_ptr<const ScreenRendition> rendition);

    /// The smallest level that is at least `factor` times as large as `size` both ways; the full
    /// size where none is.
    [[nodiscard]] QImage levelFor(QSizeF size, double factor);

    [[nodiscard]] const std::shared_ptr<const ScreenRendition>& rendition() const {
        return m_rendition;
    }

private:
    std::shared_ptr<const ScreenRendition> m_rendition;
    std::vector<QImage> m_levels;
};

/// The photo over the pixels of an image: of `size`, onto whose coordinates the whole photo falls
/// in `photo` (which may overhang it; where it does not reach, its border pixels go on).
struct PhotoPlacement {
    QSize size;
    QRectF photo;

    bool operator==(const PhotoPlacement&) const = default;
};

/// The samples that a draft of `size` has for each of its pixels, along an axis: 1, or 0.5 for one
/// so large that it would not keep up with a moving slider.
[[nodiscard]] double draftDensity(QSize size);

/// Quick: each sample a mixture of two by two pixels of a level that is less than twice as large;
/// between the samples, their average. Spread over the cores where that pays.
[[nodiscard]] QImage draftPhoto(const QImage& level, const PhotoPlacement& placement);

/// Pixels of 32 bits to write to.
struct PixelTarget {
    uchar* bits;
    qsizetype bytesPerLine;
};

/// The same into pixels that are there already. False, with nothing written, for a placement or a
/// level without area.
bool draftPhotoInto(PixelTarget target, const QImage& level, const PhotoPlacement& placement);

/// Good: a Lanczos filter of three lobes. Gives up, with a null image, once `abandoned` is set. Any
/// thread.
[[nodiscard]] QImage finePhoto(const QImage& level, const PhotoPlacement& placement,
                               const std::atomic<bool>& abandoned);

} // namespace lumivert
