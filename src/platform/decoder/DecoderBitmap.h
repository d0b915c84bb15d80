#pragma once

#include "platform/Bitmap.h"
#include "platform/decoder/DecoderImage.h"

namespace lumivert {

/// The intent by its number in ICC.1, 7.2.15.
[[nodiscard]] std::uint32_t iccIntent(RenderingIntent intent);

/// A photo, or a part of one, whose rows a decoder makes when they are asked for.
class DecoderBitmap : public Bitmap {
public:
    /// `part` lies inside the photo.
    DecoderBitmap(std::shared_ptr<DecoderService> service,
                  std::shared_ptr<const DecodedPhoto> photo, PixelRect part);

    [[nodiscard]] PixelSize size() const override { return {m_part.width, m_part.height}; }
    [[nodiscard]] std::shared_ptr<const Bitmap> cropped(PixelRect rect) const override;
    [[nodiscard]] std::optional<JpegStream> jpegStream() const override;
    [[nodiscard]] std::unique_ptr<RowSource>
    rows(const std::optional<ColorTarget>& target) const override;

private:
    std::shared_ptr<DecoderService> m_service;
    std::shared_ptr<const DecodedPhoto> m_photo;
    PixelRect m_part;
};

} // namespace lumivert
