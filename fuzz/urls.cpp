// What another program says was dropped.
#include "model/FileUrl.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using lumivert::FileUrl;
    const auto url = FileUrl::fromDataRepresentation({reinterpret_cast<const char*>(data), size});
    if (url && FileUrl::fromPath(url->path()).path() != url->path())
        __builtin_trap();
    return 0;
}
