// What a decoder that was taken over may say: lumivert-answering, which runs as the decoder, takes
// the photo's own bytes for its answers.
#include "model/FileUrl.h"
#include "platform/decoder/DecoderClient.h"
#include "platform/system/SealedMemory.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivert;
    static DecoderClient client({.path = LUMIVERT_ANSWERING,
                                 .screenEdge = [] { return 64; },
                                 .answerTimeout = std::chrono::seconds(10),
                                 .rowTimeout = std::chrono::seconds(10)});
    const auto photo = sealedCopyOf(std::as_bytes(std::span(data, size)));
    const auto image =
        photo ? client.decode(FileUrl::fromPath("/proc/self/fd/" + std::to_string(photo->get())))
              : nullptr;
    if (!image)
        return 0;
    const auto& rendition = image->screenRendition();
    if (!(image->size().width > 0) || !(image->size().height > 0) ||
        rendition.pixels.view.size() != std::size_t{4} *
                                            static_cast<std::size_t>(rendition.size.width) *
                                            static_cast<std::size_t>(rendition.size.height))
        __builtin_trap();
    const auto stream = image->bitmap()->jpegStream();
    if (stream && stream->bytes.view.size() != size)
        __builtin_trap();
    const auto rows = image->bitmap()->rows(std::nullopt);
    if (!rows)
        return 0;
    Bytes row(rows->format().bytesPerRow());
    for (int read = 0; read < rows->format().size.height; ++read)
        if (rows->readRows(row) != 1U)
            return 0;
    if (rows->readRows(row) != 0U)
        __builtin_trap();
    return 0;
}
