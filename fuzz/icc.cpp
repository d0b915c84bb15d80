#include "decoder/Profiles.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto space = lumivert::decoder::pageSpace(std::as_bytes(std::span(data, size)));
    if (space.channels != 0 && space.channels != 1 && space.channels != 3 && space.channels != 4)
        __builtin_trap();
    return 0;
}
