#include "platform/lcms/LcmsColorSpace.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivert;
    const auto* bytes = reinterpret_cast<const std::byte*>(data);
    const auto space = colorSpaceFromIccProfile(sharedBytes(Bytes(bytes, bytes + size)));
    if (space && space->channels != 1 && space->channels != 3 && space->channels != 4)
        __builtin_trap();
    return 0;
}
