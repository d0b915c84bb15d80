#pragma once

#include "platform/Image.h"
#include "platform/decoder/DecoderService.h"

namespace lumivert {

/// What a decoder said about a photo, checked, and the photo's bytes.
struct DecodedPhoto {
    /// Sealed memory file.
    Descriptor bytes;
    /// Of the rows of the whole photo.
    RowFormat format;
    double rawWhite = 0;
    /// Without its `bytes`.
    std::optional<JpegStream> jpeg;
};

/// The intent by its number in ICC.1, 7.2.15.
[[nodiscard]] std::uint32_t iccIntent(RenderingIntent intent);

/// The photo's rows as Bitmap::rows gives them, out of a decoder of their own.
[[nodiscard]] std::unique_ptr<RowSource> decodedRows(std::shared_ptr<DecoderService> service,
                                                     const DecodedPhoto& photo,
                                                     const std::optional<ColorTarget>& target,
                                                     const std::optional<PixelRect>& part);

} // namespace lumivert
