#pragma once

#include "platform/Bitmap.h"
#include "platform/ColorSpace.h"
#include "platform/Geometry.h"

#include <memory>

namespace lumivert {

enum class InterpolationQuality { none, high };

/// A one-page PDF document being written to a file. Order: beginPage, any drawing, endPage, close.
/// A failure (disk full, folder gone, rows that cannot be had or break off) makes every later call
/// do nothing and close return false. Destroyed before a successful close, it removes the file. One
/// thread.
class PdfContext {
public:
    virtual ~PdfContext() = default;

    /// Begins the page; its dictionary carries `mediaBox` (points).
    virtual void beginPage(RectPoints mediaBox) = 0;

    /// The colour rendering intent from here on (ISO 32000-1, 8.6.5.8).
    virtual void setRenderingIntent(RenderingIntent intent) = 0;

    /// The colour space to draw in. From here on a photo is converted into it with the current
    /// intent and written as plain device numbers, provided that it can be a destination.
    virtual void setFillColorSpace(std::shared_ptr<const ColorSpace> space) = 0;

    /// The fill colour, opaque, components 0 to 1. Sets the fill colour space to device RGB.
    virtual void setFillColorRGB(double red, double green, double blue) = 0;

    /// How a bitmap is scaled by whoever shows the page.
    virtual void setInterpolationQuality(InterpolationQuality quality) = 0;

    virtual void fillRect(RectPoints rect) = 0;

    /// Draws the whole bitmap into the rectangle; nothing where that has no area or is not finite.
    virtual void draw(const Bitmap& bitmap, RectPoints rect) = 0;

    virtual void endPage() = 0;

    /// Finishes the file. False when anything since the creation failed: the file is gone then.
    [[nodiscard]] virtual bool close() = 0;
};

} // namespace lumivert
