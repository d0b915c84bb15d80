#include "platform/pdf/TestJpeg.h"

#include <cstdio>
#include <cstdlib>
#include <jpeglib.h>

namespace lumivert {

Bytes jpegOf(PixelSize size, int channels, const Bytes& samples) {
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* memory = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&jpeg, &memory, &length);
    jpeg.image_width = static_cast<JDIMENSION>(size.width);
    jpeg.image_height = static_cast<JDIMENSION>(size.height);
    jpeg.input_components = channels;
    jpeg.in_color_space = channels == 1 ? JCS_GRAYSCALE : channels == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 100, TRUE);
    for (int i = 0; i < jpeg.num_components; ++i)
        jpeg.comp_info[i].h_samp_factor = jpeg.comp_info[i].v_samp_factor = 1;
    jpeg_start_compress(&jpeg, TRUE);
    Bytes row(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(channels));
    while (jpeg.next_scanline < jpeg.image_height) {
        const auto start =
            samples.begin() + static_cast<std::ptrdiff_t>(jpeg.next_scanline * row.size());
        row.assign(start, start + static_cast<std::ptrdiff_t>(row.size()));
        auto* line = reinterpret_cast<JSAMPROW>(row.data());
        jpeg_write_scanlines(&jpeg, &line, 1);
    }
    jpeg_finish_compress(&jpeg);
    const auto bytes = std::as_bytes(std::span(memory, length));
    Bytes result(bytes.begin(), bytes.end());
    jpeg_destroy_compress(&jpeg);
    std::free(memory);
    return result;
}

} // namespace lumivert
