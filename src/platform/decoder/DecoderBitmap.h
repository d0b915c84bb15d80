#pragma once

#include "platform/Bitmap.h"
#include "platform/decoder/DecoderService.h"

namespace lumivert {

/// What a decoder said about a photo, checked, and the photo's bytes.
struct DecodedPhoto {
    /// Sealed memory file.
    Descriptor bytes;
    PixelSize size;
    int channels = 0;
    int bitsPerComponent = 0;
    SharedBytes profile;
    double rawWhite = 0;
    /// Without its `bytes`.
    std::optional<JpegStream> jpeg;
};

/// The intent by its number in ICC.1, 7.2.15.
[[nodiscard]] std::uint32_t iccIntent(RenderingIntent intent);

/// The `part` of a photo, which lies inside it; a decoder makes its rows when they are asked for.
[[nodiscard]] std::shared_ptr<const Bitmap> decoderBitmap(std::shared_ptr<DecoderService> service,
                                                          std::shared_ptr<const DecodedPhoto> photo,
                                                          PixelRect part);

} // namespace lumivert
