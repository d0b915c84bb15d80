#pragma once

#include "platform/Bytes.h"
#include "platform/Geometry.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>

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

/// The shape of a bitmap's rows. Samples are interleaved; those of 16 bits are big-endian, as PDF
/// and PNG want them.
struct RowFormat {
    PixelSize size;
    /// 1 grey, 3 RGB, 4 CMYK (0 is no ink).
    int channels = 0;
    /// 8 or 16.
    int bitsPerComponent = 0;
    /// What the numbers mean: the photo's own ICC profile; empty for plain device numbers.
    SharedBytes profile;

    [[nodiscard]] std::size_t bytesPerRow() const {
        return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(channels) *
               static_cast<std::size_t>(bitsPerComponent / 8);
    }
};

/// One pass over a bitmap's rows, top to bottom. Used by one thread.
class RowSource {
public:
    virtual ~RowSource() = default;

    [[nodiscard]] virtual const RowFormat& format() const = 0;

    /// Fills `buffer`, which holds a whole number of rows, with the next rows and returns how many
    /// it wrote; fewer than fit only at the end. After the last row it returns 0. Nothing when the
    /// rows broke off before the last one: what was read must not be used.
    [[nodiscard]] virtual std::optional<std::size_t> readRows(std::span<std::byte> buffer) = 0;
};

/// The photo's own compressed stream, for a reader that decodes JPEG itself (ISO 32000-1, 7.4.8).
struct JpegStream {
    SharedBytes bytes;
    /// As stored, before `orientation` is applied.
    PixelSize storedSize;
    /// EXIF orientation, 1 to 8.
    int orientation = 1;
    /// 1 grey, 3 RGB (or YCbCr), 4 CMYK.
    int channels = 0;
    /// CMYK samples stored with 255 for no ink.
    bool inverted = false;
    /// The embedded (or stated) ICC profile; empty for plain device numbers.
    SharedBytes profile;
};

/// The pixels of a photo at its natural resolution, upright. Holds none of them; immutable; any
/// thread.
class Bitmap {
public:
    virtual ~Bitmap() = default;

    [[nodiscard]] virtual PixelSize pixelSize() const = 0;

    /// The stream that shows exactly these pixels, where there is one.
    [[nodiscard]] virtual std::optional<JpegStream> jpegStream() const = 0;

    /// Starts decoding all rows, or those of a `part` that lies inside. Without a target: the
    /// photo's own numbers, depth and profile, alpha flattened on white. With one: converted
    /// through the full depth into the target's space with its intent (black point compensation for
    /// all but absolute), 8 bits, no profile. Null when they cannot be had at all. Blocks until the
    /// first rows stand ready or are refused.
    [[nodiscard]] virtual std::unique_ptr<RowSource>
    rows(const std::optional<ColorTarget>& target,
         const std::optional<PixelRect>& part = std::nullopt) const = 0;
};

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
