#pragma once

#include "platform/Bytes.h"

#include <memory>

namespace lumivert {

enum class RenderingIntent; // of model/Models.h

/// A colour space built from the bytes of an ICC profile (ICC.1). Immutable.
struct ColorSpace {
    SharedBytes profile;
    /// 1 (grey), 3 (RGB or Lab) or 4 (CMYK): what a PDF's ICCBased space can have.
    int channels = 0;
    /// Whether colours can be converted into it: a display, output or colour-space profile with
    /// the way back from the connection space.
    bool isDestination = false;
};

/// What a photo's colours are converted into, and how.
struct ColorTarget {
    std::shared_ptr<const ColorSpace> space;
    RenderingIntent intent{}; ///< perceptual unless stated
};

} // namespace lumivert
