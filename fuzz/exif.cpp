// An Exif block in a JPEG that is sound otherwise; what is broken in it must not keep the photo
// out.
#include "decoder/Photo.h"
#include "decoder/Requests.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace {

std::string plainJpeg() {
    void* data = nullptr;
    std::size_t size = 0;
    vips::VImage::black(8, 8).write_to_buffer(".jpg", &data, &size);
    const std::string file(static_cast<const char*>(data), size);
    g_free(data);
    return file;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char*** arguments) {
    lumivert::decoder::prepareLibraries((*arguments)[0]);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string jpeg = plainJpeg();
    constexpr std::size_t longest = 65533 - 6;
    if (size > longest)
        return 0;
    const std::size_t length = size + 8;
    std::string file = jpeg.substr(0, 2) + "\xff\xe1" + static_cast<char>(length >> 8) +
                       static_cast<char>(length & 0xff) + std::string("Exif\0\0", 6);
    file.append(reinterpret_cast<const char*>(data), size).append(jpeg, 2);
    const auto photo = lumivert::decoder::openPhoto(std::as_bytes(std::span(file)), {});
    if (!photo || photo->orientation < 1 || photo->orientation > 8 || !(photo->density.x > 0))
        __builtin_trap();
    return 0;
}
