#include "decoder/RawReader.h"

#include "decoder/Confinement.h"
#include "decoder/Profiles.h"
#include "decoder/Strips.h"

#include <libraw/libraw.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numeric>
#include <span>
#include <stdexcept>

namespace lumivert::decoder {
namespace {

using vips::VImage;

constexpr int proPhoto = 4;   // LibRaw's output_color: the primaries of wideGamutBytes()
constexpr double gamma = 1.8; // of wideGamutBytes() and plainGreyBytes()

bool open(LibRaw& raw, std::span<const std::byte> bytes) {
    // LibRaw takes a pointer to writable memory but only reads from it.
    auto* data = const_cast<std::byte*>(bytes.data());
    return raw.open_buffer(data, bytes.size()) == LIBRAW_SUCCESS;
}

// LibRaw's flip counts quarter turns in bits; the four that occur, as EXIF orientations.
int orientationOf(int flip) {
    return flip == 3 ? 3 : flip == 5 ? 8 : flip == 6 ? 6 : 1;
}

// The scene value shown as white: one pixel in a hundred of a channel may lie above. LibRaw counts
// the values, by eights.
double findWhite(LibRaw& raw, int channels) {
    const auto* counts = raw.get_internal_data_pointer()->output_data.histogram;
    int white = 32;
    for (int c = 0; c < channels; ++c) {
        const std::span<const int> count(counts[c]);
        const auto hundredth = std::accumulate(count.begin(), count.end(), std::int64_t{0}) / 100;
        std::int64_t above = 0;
        int bin = static_cast<int>(count.size()) - 1;
        while (bin > white && (above += count[static_cast<std::size_t>(bin)]) <= hundredth)
            --bin;
        white = bin;
    }
    return white * 8;
}

// What the developed photo's pixels look at.
struct Development {
    LibRaw raw;
    bool isDamaged = false;
};

} // namespace

std::uint64_t sensorPixels(std::span<const std::byte> bytes) {
    const auto raw = std::make_unique<LibRaw>(); // too large for the stack
    if (!open(*raw, bytes))
        return 0;
    return std::uint64_t{raw->imgdata.sizes.width} * raw->imgdata.sizes.height;
}

std::optional<Photo> openRaw(std::span<const std::byte> bytes, const OpenOptions& options) {
    const auto development = std::make_shared<Development>();
    LibRaw* const raw = &development->raw;
    // LibRaw goes on after codes and rows that it makes up.
    raw->set_dataerror_handler(
        [](void* flag, const char*, int) { *static_cast<bool*>(flag) = true; },
        &development->isDamaged);
    if (!open(*raw, bytes))
        return std::nullopt;
    if (raw->adjust_sizes_info_only() != LIBRAW_SUCCESS)
        throw std::runtime_error("no size");
    Photo photo;
    const auto& sizes = raw->imgdata.sizes;
    photo.orientation = orientationOf(sizes.flip);
    // That call already swapped the axes of a turned photo.
    photo.storedSize = photo.orientation >= 5 ? PixelSize{sizes.iheight, sizes.iwidth}
                                              : PixelSize{sizes.iwidth, sizes.iheight};
    allowPhoto(photo.storedSize, 3 * sizeof(std::uint16_t));

    raw->recycle();
    auto& parameters = raw->imgdata.params;
    const int longer = std::max(photo.storedSize.width, photo.storedSize.height);
    parameters.half_size = options.screenEdge && longer / 2 >= *options.screenEdge ? 1 : 0;
    parameters.use_camera_wb = 1;
    parameters.output_color = proPhoto;
    parameters.output_bps = 16;
    parameters.no_auto_bright = 1;
    parameters.gamm[0] = parameters.gamm[1] = 1;
    if (!open(*raw, bytes) || raw->unpack() != LIBRAW_SUCCESS ||
        raw->dcraw_process() != LIBRAW_SUCCESS || development->isDamaged)
        throw std::runtime_error("sensor data does not develop");

    // A sensor of four colours has three by now, unless nobody knows what its colours are.
    const int channels = raw->imgdata.idata.colors;
    if (channels != 1 && channels != 3)
        throw std::runtime_error("colours that are none of a photo's");
    // Not iwidth and iheight: those are the sizes before oblong pixels are made square and the
    // oblique rows of some sensors level.
    const PixelSize developed{sizes.width, sizes.height};
    if (parameters.half_size == 0 && developed != photo.storedSize)
        throw std::runtime_error("a photo of another size than it stated");

    photo.rawWhite = options.rawWhite > 0 ? options.rawWhite : findWhite(*raw, channels);
    const std::size_t size = std::size_t{sizes.width} * sizes.height * sizeof(*raw->imgdata.image);
    const VImage linear = holding(VImage::new_from_memory(raw->imgdata.image, size, developed.width,
                                                          developed.height, 4, VIPS_FORMAT_USHORT),
                                  development);
    photo.pixels =
        mapped(linear.extract_band(0, VImage::option()->set("n", channels)), VIPS_FORMAT_USHORT,
               [white = photo.rawWhite](std::uint16_t light) {
                   return 0.5 + 65535 * std::pow(std::min(1.0, light / white), 1 / gamma);
               });
    photo.profile = channels == 1 ? plainGreyBytes() : wideGamutBytes();
    photo.isRandomAccess = true;
    return photo;
}

} // namespace lumivert::decoder
