#pragma once

#include "platform/Image.h"
#include "platform/decoder/DecoderService.h"
#include "platform/system/Descriptor.h"

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

/// A photo whose bytes lie in memory of the program's own and whose pixels are made by decoders.
class DecoderImage : public Image {
public:
    /// Has the photo decoded for a screen whose longer edge is `screenEdge`. Null where that fails
    /// or what comes back cannot be right.
    [[nodiscard]] static std::shared_ptr<const Image> load(std::shared_ptr<DecoderService> service,
                                                           Descriptor photo, int screenEdge);

    [[nodiscard]] SizePoints size() const override { return m_size; }
    [[nodiscard]] const std::vector<PixelSize>& representations() const override {
        return m_representations;
    }
    [[nodiscard]] const ScreenRendition& screenRendition() const override { return m_rendition; }
    /// Proofs are made one after the other. One that waits is overtaken by the next request for the
    /// same photo and completes with null.
    void softProof(
        const ColorTarget& target,
        std::function<void(std::shared_ptr<const ScreenRendition>)> completion) const override;
    [[nodiscard]] std::shared_ptr<const Bitmap> bitmap() const override;

private:
    DecoderImage() = default;

    std::shared_ptr<DecoderService> m_service;
    std::shared_ptr<const DecodedPhoto> m_photo;
    int m_screenEdge = 0;
    SizePoints m_size;
    std::vector<PixelSize> m_representations;
    ScreenRendition m_rendition;
};

} // namespace lumivert
