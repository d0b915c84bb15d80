// The inspection that lets a JPEG's own stream go into the page.
#include "decoder/Jpeg.h"

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto markers = lumivert::decoder::readJpegMarkers(std::as_bytes(std::span(data, size)));
    if (markers && markers->embeddable && (markers->components < 1 || markers->components > 4))
        __builtin_trap();
    return 0;
}
