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

/// Builds colour spaces. Any thread.
class ColorSpaceFactory {
public:
    virtual ~ColorSpaceFactory() = default;

    /// Null where the bytes are no ICC profile, or one that a page cannot draw in: a device link, a
    /// named colour or abstract profile, or one of 2 or more than 4 channels.
    [[nodiscard]] virtual std::shared_ptr<const ColorSpace> fromIccProfile(SharedBytes bytes) = 0;
};

} // namespace lumivert
