#pragma once

#include "platform/Bitmap.h"
#include "platform/Bytes.h"
#include "platform/ColorSpace.h"
#include "platform/Geometry.h"

#include <functional>
#include <memory>
#include <vector>

namespace lumivert {

/// A photo small enough for the screen, upright, in sRGB: rows of 32-bit words 0xffRRGGBB in the
/// machine's byte order, without padding between rows.
struct ScreenRendition {
    PixelSize size;
    SharedBytes pixels;
};

/// A decoded photograph. Immutable and shared; it stays drawable, unchanged, whatever becomes of
/// the file it came from. Any thread.
class Image {
public:
    virtual ~Image() = default;

    /// The nominal size in points, upright: pixels × 72 ÷ density, each axis by its own density, 72
    /// where the file states none. Both positive.
    [[nodiscard]] virtual SizePoints size() const = 0;

    /// The pixel sizes of the photo's bitmaps, upright; the first is the one that is drawn.
    [[nodiscard]] virtual const std::vector<PixelSize>& representations() const = 0;

    /// The photo for the screen. Made when the photo was loaded.
    [[nodiscard]] virtual const ScreenRendition& screenRendition() const = 0;

    /// The screen rendition as `target` will show it: converted into the target with its intent and
    /// from there to the screen. `completion` runs once, on any thread, with null when the proof
    /// cannot be made.
    virtual void
    softProof(const ColorTarget& target,
              std::function<void(std::shared_ptr<const ScreenRendition>)> completion) const = 0;

    /// The photo at its natural resolution, a part of this object; null when none can be had.
    [[nodiscard]] virtual const Bitmap* bitmap() const = 0;
};

} // namespace lumivert
