#include "corpus/IndependentReaders.h"

#include <QImage>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <jpeglib.h>
#include <libheif/heif.h>
#include <memory>
#include <openexr.h>
#include <png.h>
#include <string_view>
#include <tiffio.h>
#include <vector>
#include <webp/decode.h>

namespace lumivert::test {
namespace {

struct Jump {
    jpeg_error_mgr manager;
    std::jmp_buf out;
};

[[noreturn]] void leave(j_common_ptr info) {
    std::longjmp(reinterpret_cast<Jump*>(info->err)->out, 1);
}

bool readRowsOf(jpeg_decompress_struct& info, Jump& jump, const std::string& file,
                std::string& pixels) {
    if (setjmp(jump.out) != 0)
        return false;
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(file.data()),
                 static_cast<unsigned long>(file.size()));
    jpeg_read_header(&info, TRUE);
    const bool hasInks = info.num_components == 4;
    info.out_color_space = hasInks ? JCS_CMYK : JCS_RGB;
    jpeg_start_decompress(&info);
    const std::size_t line = std::size_t{hasInks ? 4U : 3U} * info.output_width;
    pixels.resize(line * info.output_height);
    while (info.output_scanline < info.output_height) {
        auto* row = reinterpret_cast<JSAMPROW>(pixels.data() + line * info.output_scanline);
        jpeg_read_scanlines(&info, &row, 1);
    }
    // Adobe's programs store 255 for no ink.
    if (hasInks && info.saw_Adobe_marker)
        for (char& sample : pixels)
            sample = static_cast<char>(~sample);
    return true;
}

struct TiffInMemory {
    const std::string& bytes;
    toff_t position = 0;

    static TiffInMemory& of(thandle_t handle) { return *static_cast<TiffInMemory*>(handle); }
    static tmsize_t read(thandle_t handle, void* to, tmsize_t size) {
        auto& file = of(handle);
        const auto from = std::min<std::size_t>(file.position, file.bytes.size());
        const auto count = std::min(static_cast<std::size_t>(size), file.bytes.size() - from);
        std::memcpy(to, file.bytes.data() + from, count);
        file.position += count;
        return static_cast<tmsize_t>(count);
    }
    static tmsize_t write(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t seek(thandle_t handle, toff_t to, int from) {
        auto& file = of(handle);
        file.position = to + (from == SEEK_CUR   ? file.position
                              : from == SEEK_END ? file.bytes.size()
                                                 : 0);
        return file.position;
    }
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t handle) { return of(handle).bytes.size(); }
};

using Tiff = std::unique_ptr<TIFF, void (*)(TIFF*)>;

Tiff openTiff(TiffInMemory& memory) {
    TIFFSetWarningHandler(nullptr);
    TIFFSetErrorHandler(nullptr);
    return {TIFFClientOpen("corpus", "rm", &memory, TiffInMemory::read, TiffInMemory::write,
                           TiffInMemory::seek, TiffInMemory::close, TiffInMemory::size, nullptr,
                           nullptr),
            [](TIFF* open) {
                if (open)
                    TIFFClose(open);
            }};
}

double lightOfHalf(unsigned bits) {
    const int exponent = static_cast<int>(bits >> 10 & 31);
    const double fraction = (bits & 1023) / 1024.0;
    const double value = exponent == 0    ? std::ldexp(fraction, -14)
                         : exponent == 31 ? (fraction > 0 ? 0 : 2)
                                          : std::ldexp(1 + fraction, exponent - 15);
    return (bits >> 15) != 0 ? 0 : std::min(value, 1.0);
}

// IEC 61966-2-1, of 16 bits.
void appendEncoded(std::string& pixels, double light) {
    const long encoded = std::lround(
        65535 * (light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055));
    pixels += static_cast<char>(encoded >> 8);
    pixels += static_cast<char>(encoded);
}

} // namespace

std::optional<std::string> readJpeg(const std::string& file) {
    jpeg_decompress_struct info{};
    Jump jump{};
    info.err = jpeg_std_error(&jump.manager);
    jump.manager.error_exit = leave;
    jump.manager.emit_message = [](j_common_ptr, int) {};
    std::string pixels;
    const bool isRead = readRowsOf(info, jump, file, pixels);
    jpeg_destroy_decompress(&info);
    return isRead ? std::optional(pixels) : std::nullopt;
}

std::optional<std::string> readPng(const std::string& file) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0)
        return std::nullopt;
    image.format = PNG_FORMAT_RGB;
    std::string pixels(PNG_IMAGE_SIZE(image), '\0');
    if (png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) == 0)
        return std::nullopt;
    return pixels;
}

std::optional<std::string> readWebp(const std::string& file) {
    int width = 0;
    int height = 0;
    std::uint8_t* decoded = WebPDecodeRGB(reinterpret_cast<const std::uint8_t*>(file.data()),
                                          file.size(), &width, &height);
    if (!decoded)
        return std::nullopt;
    std::string pixels(reinterpret_cast<const char*>(decoded),
                       std::size_t{3} * static_cast<std::size_t>(width) *
                           static_cast<std::size_t>(height));
    WebPFree(decoded);
    return pixels;
}

std::optional<std::string> readTiff(const std::string& file) {
    TiffInMemory memory{file};
    const auto tiff = openTiff(memory);
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    constexpr std::uint64_t most = 1U << 24;
    if (!tiff || TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width) == 0 ||
        TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height) == 0 ||
        std::uint64_t{width} * height > most)
        return std::nullopt;
    std::vector<std::uint32_t> words(std::size_t{width} * height);
    if (TIFFReadRGBAImageOriented(tiff.get(), width, height, words.data(), ORIENTATION_TOPLEFT,
                                  1) == 0)
        return std::nullopt;
    std::string pixels;
    for (const std::uint32_t word : words)
        for (const std::uint32_t sample : {TIFFGetR(word), TIFFGetG(word), TIFFGetB(word)})
            pixels.push_back(static_cast<char>(sample));
    return pixels;
}

std::optional<std::string> readHeif(const std::string& file) {
    const std::unique_ptr<heif_context, void (*)(heif_context*)> context(heif_context_alloc(),
                                                                         heif_context_free);
    heif_image_handle* handle = nullptr;
    heif_image* image = nullptr;
    std::optional<std::string> pixels;
    if (heif_context_read_from_memory_without_copy(context.get(), file.data(), file.size(), nullptr)
                .code == heif_error_Ok &&
        heif_context_get_primary_image_handle(context.get(), &handle).code == heif_error_Ok &&
        heif_decode_image(handle, &image, heif_colorspace_RGB, heif_chroma_interleaved_RGB, nullptr)
                .code == heif_error_Ok) {
        int stride = 0;
        const auto* plane = reinterpret_cast<const char*>(
            heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride));
        const int width = heif_image_get_width(image, heif_channel_interleaved);
        pixels.emplace();
        for (int y = 0; plane && y < heif_image_get_height(image, heif_channel_interleaved); ++y)
            pixels->append(plane + std::ptrdiff_t{stride} * y,
                           std::size_t{3} * static_cast<unsigned>(width));
    }
    if (image)
        heif_image_release(image);
    if (handle)
        heif_image_handle_release(handle);
    return pixels;
}

std::optional<std::string> readBmp(const std::string& file) {
    QImage image;
    if (!image.loadFromData(reinterpret_cast<const uchar*>(file.data()),
                            static_cast<int>(file.size()), "BMP"))
        return std::nullopt;
    image = image.convertToFormat(QImage::Format_RGB888);
    std::string pixels;
    for (int y = 0; y < image.height(); ++y)
        pixels.append(reinterpret_cast<const char*>(image.constScanLine(y)),
                      std::size_t{3} * static_cast<unsigned>(image.width()));
    return pixels;
}

// By OpenEXR's own C library, which shares no code with the C++ one.
std::optional<std::string> readExr(const std::string& file) {
    exr_context_initializer_t start = EXR_DEFAULT_CONTEXT_INITIALIZER;
    start.user_data = const_cast<std::string*>(&file);
    start.error_handler_fn = [](exr_const_context_t, exr_result_t, const char*) {};
    start.size_fn = [](exr_const_context_t, void* data) {
        return static_cast<std::int64_t>(static_cast<const std::string*>(data)->size());
    };
    start.read_fn = [](exr_const_context_t, void* data, void* to, std::uint64_t size,
                       std::uint64_t offset, exr_stream_error_func_ptr_t) -> std::int64_t {
        const auto& bytes = *static_cast<const std::string*>(data);
        const std::uint64_t from = std::min<std::uint64_t>(offset, bytes.size());
        const std::uint64_t count = std::min<std::uint64_t>(size, bytes.size() - from);
        std::memcpy(to, bytes.data() + from, count);
        return static_cast<std::int64_t>(count);
    };
    exr_context_t context = nullptr;
    if (exr_start_read(&context, "corpus", &start) != EXR_ERR_SUCCESS)
        return std::nullopt;
    const std::unique_ptr<exr_context_t, void (*)(exr_context_t*)> ends(
        &context, [](exr_context_t* open) { exr_finish(open); });
    exr_attr_box2i_t window{};
    std::int32_t rows = 0;
    if (exr_get_data_window(context, 0, &window) != EXR_ERR_SUCCESS ||
        exr_get_scanlines_per_chunk(context, 0, &rows) != EXR_ERR_SUCCESS)
        return std::nullopt;
    const int width = window.max.x - window.min.x + 1;
    std::string pixels;
    for (int y = window.min.y; y <= window.max.y; y += rows) {
        exr_chunk_info_t chunk{};
        exr_decode_pipeline_t pipeline = EXR_DECODE_PIPELINE_INITIALIZER;
        if (exr_read_scanline_chunk_info(context, 0, y, &chunk) != EXR_ERR_SUCCESS ||
            exr_decoding_initialize(context, 0, &chunk, &pipeline) != EXR_ERR_SUCCESS)
            return std::nullopt;
        std::vector<float> values(std::size_t{3} * static_cast<std::size_t>(width) *
                                  static_cast<std::size_t>(chunk.height));
        for (int c = 0; c < pipeline.channel_count; ++c) {
            auto& channel = pipeline.channels[c];
            const std::string_view name = channel.channel_name;
            const std::size_t place = name == "R" ? 0 : name == "G" ? 1 : 2;
            channel.decode_to_ptr = reinterpret_cast<std::uint8_t*>(values.data() + place);
            channel.user_bytes_per_element = 4;
            channel.user_data_type = EXR_PIXEL_FLOAT;
            channel.user_pixel_stride = 12;
            channel.user_line_stride = 12 * width;
        }
        const bool isRead =
            exr_decoding_choose_default_routines(context, 0, &pipeline) == EXR_ERR_SUCCESS &&
            exr_decoding_run(context, 0, &pipeline) == EXR_ERR_SUCCESS;
        exr_decoding_destroy(context, &pipeline);
        if (!isRead)
            return std::nullopt;
        for (const float value : values) {
            const double light = value > 0 ? std::min(value, 1.0F) : 0;
            appendEncoded(pixels, light);
        }
    }
    return pixels;
}

std::optional<std::string> readTiffStrips(const std::string& file) {
    TiffInMemory memory{file};
    const auto tiff = openTiff(memory);
    if (!tiff)
        return std::nullopt;
    const auto number = [&](ttag_t tag) {
        std::uint16_t value = 0;
        TIFFGetFieldDefaulted(tiff.get(), tag, &value);
        return unsigned{value};
    };
    const unsigned bits = number(TIFFTAG_BITSPERSAMPLE);
    const bool isFloat = number(TIFFTAG_SAMPLEFORMAT) == SAMPLEFORMAT_IEEEFP;
    const unsigned samples = number(TIFFTAG_SAMPLESPERPIXEL);
    const bool hasInks = number(TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_SEPARATED;
    const bool isPlain = bits == 8 && samples == 4 && hasInks;
    const bool isDeep = (bits == 12 || (bits == 16 && isFloat)) && samples == 3 &&
                        number(TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_RGB;
    if ((!isPlain && !isDeep) || number(TIFFTAG_SAMPLEFORMAT) == SAMPLEFORMAT_INT ||
        (bits == 12 && isFloat) || number(TIFFTAG_PLANARCONFIG) != PLANARCONFIG_CONTIG ||
        number(TIFFTAG_ORIENTATION) != ORIENTATION_TOPLEFT || TIFFIsTiled(tiff.get()) != 0)
        return std::string();
    std::uint32_t width = 0;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    std::string pixels;
    const auto line = static_cast<std::size_t>(TIFFScanlineSize(tiff.get()));
    for (std::uint32_t i = 0; i < TIFFNumberOfStrips(tiff.get()); ++i) {
        std::string strip(static_cast<std::size_t>(TIFFStripSize(tiff.get())), '\0');
        const tmsize_t size = TIFFReadEncodedStrip(tiff.get(), i, strip.data(), -1);
        if (size < 0)
            return std::nullopt;
        strip.resize(static_cast<std::size_t>(size));
        const auto byte = [&](std::size_t at) {
            return unsigned{static_cast<unsigned char>(strip[at])};
        };
        for (std::size_t row = 0; row + line <= strip.size(); row += line)
            for (std::size_t s = 0; s < std::size_t{width} * samples; ++s) {
                const std::size_t at = row + s * bits / 8;
                if (bits == 8) {
                    pixels += strip[at];
                } else if (isFloat) { // libtiff has put them in the machine's order
                    std::uint16_t half = 0;
                    std::memcpy(&half, strip.data() + at, sizeof half);
                    appendEncoded(pixels, lightOfHalf(half));
                } else {
                    const unsigned value = s % 2 == 0 ? byte(at) << 4 | byte(at + 1) >> 4
                                                      : (byte(at) & 15) << 8 | byte(at + 1);
                    const long scaled = std::lround(value * 65535 / 4095.0);
                    pixels += static_cast<char>(scaled >> 8);
                    pixels += static_cast<char>(scaled);
                }
            }
    }
    return pixels;
}

std::optional<std::string> readBmpRuns(const std::string& file) {
    const auto byte = [&](std::size_t at) {
        return at < file.size() ? unsigned{static_cast<unsigned char>(file[at])} : 0U;
    };
    const auto word = [&](std::size_t at) {
        return byte(at) | byte(at + 1) << 8 | byte(at + 2) << 16 | byte(at + 3) << 24;
    };
    const std::size_t width = word(18);
    const auto rows = static_cast<std::int32_t>(word(22));
    const auto height = static_cast<std::size_t>(std::abs(std::int64_t{rows}));
    if (word(30) != 1 || (byte(28) | byte(29) << 8) != 8 || width * height > 1U << 24)
        return std::string();
    std::vector<unsigned> numbers(width * height);
    std::size_t at = word(10);
    for (std::size_t x = 0, y = 0; at < file.size();) {
        const unsigned first = byte(at);
        const unsigned second = byte(at + 1);
        at += 2;
        if (first == 0 && second == 1)
            break;
        if (first == 0 && second == 0) {
            ++y;
            x = 0;
        } else if (first == 0 && second == 2) {
            x += byte(at);
            y += byte(at + 1);
            at += 2;
        } else {
            const unsigned count = first != 0 ? first : second;
            for (unsigned i = 0; i < count; ++i, ++x)
                if (x < width && y < height)
                    numbers[y * width + x] = first != 0 ? second : byte(at + i);
            if (first == 0)
                at += count + count % 2;
        }
    }
    const std::size_t colors = word(46) == 0 || word(46) > 256 ? 256 : word(46);
    std::string pixels;
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            const unsigned number = numbers[(rows < 0 ? y : height - 1 - y) * width + x];
            const std::size_t color = 14 + word(14) + std::size_t{4} * number;
            for (const std::size_t channel : {2U, 1U, 0U})
                pixels += number < colors ? static_cast<char>(byte(color + channel)) : '\0';
        }
    return pixels;
}

} // namespace lumivert::test
