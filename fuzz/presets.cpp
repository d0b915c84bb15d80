// What stands in the preferences. What can be read can be written and read again.
#include "model/PrintPreset.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivert;
    const auto presets = decodePresets({reinterpret_cast<const char*>(data), size});
    if (!presets)
        return 0;
    const auto document = encodePresets(*presets);
    if (document && decodePresets(*document) != presets)
        __builtin_trap();
    return 0;
}
