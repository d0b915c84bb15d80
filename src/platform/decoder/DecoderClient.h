#pragma once

#include "platform/Image.h"
#include "platform/decoder/DecoderService.h"

namespace lumivert {

class FileUrl;

/// Decodes photos in processes of their own: whatever a file does to its decoder, the program sees
/// no more than an image that did not decode. Main thread. Images may outlive the client; rows and
/// streams are still to be had from them then, soft proofs are not.
class DecoderClient {
public:
    explicit DecoderClient(DecoderOptions options);
    /// Ends the spare decoder and one that makes a soft proof, which is then none.
    ~DecoderClient();

    /// Starts a decoder that waits for the first photo, unless one waits. It takes the system about
    /// 1 ms here, and a second core 50 ms: best called once the first window has been painted.
    void prepareSpare();

    /// What Platform asks for as decodeImage and colorSpaceFromProfile. Of a profile only the
    /// header is read in this process.
    [[nodiscard]] std::shared_ptr<const Image> decode(const FileUrl& url);
    [[nodiscard]] std::optional<std::shared_ptr<const ColorSpace>> colorSpace(SharedBytes profile);

private:
    std::shared_ptr<DecoderService> m_service;
};

} // namespace lumivert
