// The decoder as a whole, as it answers a load; the seeds are of every format.
#include "decoder/Photo.h"

#include "decoder/Damage.h"
#include "decoder/Rendition.h"
#include "decoder/Requests.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int*, char*** arguments) {
    lumivert::decoder::prepareLibraries((*arguments)[0]);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivert::decoder;
    constexpr int edge = 64;
    constexpr std::int64_t mostPixels = 1 << 22; // what a run has time for
    const auto bytes = std::as_bytes(std::span(data, size));
    try {
        const auto photo = openPhoto(bytes, {edge, 0});
        if (!photo || std::int64_t{photo->storedSize.width} * photo->storedSize.height > mostPixels)
            return 0;
        const auto rendition = screenRendition(*photo, edge, std::nullopt);
        std::vector<std::uint32_t> words(static_cast<std::size_t>(rendition.width()) *
                                         static_cast<std::size_t>(rendition.height()));
        writeWords(rendition, words.data());
        (void)isWhole(bytes);
    } catch (const std::exception&) {
        return 0; // refused
    }
    return 0;
}
