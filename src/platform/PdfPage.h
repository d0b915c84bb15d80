#pragma once

#include "platform/Geometry.h"
#include "platform/Image.h"

#include <memory>
#include <optional>
#include <vector>

namespace lumivert {

/// What a one-page PDF document shows. Rectangles lie on the page; what lies beyond it is not seen.
struct PdfPage {
    /// Of the media box, whose lower-left corner is the origin.
    SizePoints size;

    /// The colour space to draw in: the photo is converted into it with the intent and written as
    /// plain device numbers, provided that it can be a destination. Null: the photo keeps its own.
    std::shared_ptr<const ColorSpace> space = {};
    RenderingIntent intent{};

    /// The photo, or the `part` of it that lies inside, drawn into `rect` and scaled smoothly by
    /// whoever shows the page; null for none. Not drawn where `rect` has no area or is not finite.
    const Bitmap* bitmap = nullptr;
    std::optional<PixelRect> part = {};
    RectPoints rect = {};

    /// Bare paper, over the photo.
    std::vector<RectPoints> whiteAreas = {};
};

} // namespace lumivert
