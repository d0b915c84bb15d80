#pragma once

#include "views/PhotoPlacement.h"

#include <QImage>

#include <atomic>

namespace lumivert {

/// Good: a Lanczos filter of three lobes. Gives up, with a null image, once `abandoned` is set. Any
/// thread.
[[nodiscard]] QImage finePhoto(const QImage& level, const PhotoPlacement& placement,
                               const std::atomic<bool>& abandoned);

} // namespace lumivert
