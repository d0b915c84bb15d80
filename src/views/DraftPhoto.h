#pragma once

#include "views/PhotoPlacement.h"

#include <QImage>

namespace lumivert {

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

} // namespace lumivert
