#include "decoder/Tiff.h"

#include "decoder/Confinement.h"
#include "decoder/Damage.h"
#include "decoder/Strips.h"
#include "platform/decoder/DecoderProtocol.h"

#include <Imath/half.h>
#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <tiffio.h>

namespace lumivert::decoder {
namespace {

using vips::VImage;

struct Memory {
    ByteView bytes;
    // Takes the words of errors and warnings, without the numbers in them.
    void (*note)(const char* message);
    std::uint64_t at = 0;
};

tmsize_t read(thandle_t handle, void* to, tmsize_t size) {
    auto& [bytes, note, at] = *static_cast<Memory*>(handle);
    const ByteView found = part(bytes, at, static_cast<std::uint64_t>(size));
    std::ranges::copy(found, static_cast<std::byte*>(to));
    at += found.size();
    return static_cast<tmsize_t>(found.size());
}

toff_t seek(thandle_t handle, toff_t offset, int whence) {
    auto& [bytes, note, at] = *static_cast<Memory*>(handle);
    return at = offset + (whence == SEEK_CUR ? at : whence == SEEK_END ? bytes.size() : 0);
}

std::unique_ptr<TIFF, void (*)(TIFF*)> openTiff(Memory& memory) {
    const auto tell = [](TIFF*, void* to, const char*, const char* message, va_list) {
        static_cast<Memory*>(to)->note(message);
        return 1;
    };
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
        TIFFOpenOptionsAlloc(), &TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), tell, &memory);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), tell, &memory);
    // "m": read, since a map would have to be writable; "c": strips as they are.
    return {
        TIFFClientOpenExt(
            "photo", "rmc", &memory, read, [](thandle_t, void*, tmsize_t) -> tmsize_t { return 0; },
            seek, [](thandle_t) { return 0; },
            [](thandle_t handle) -> toff_t { return static_cast<Memory*>(handle)->bytes.size(); },
            nullptr, nullptr, options.get()),
        &TIFFClose};
}

// A field of type `Value`; `missing` where there is none.
template <class Value>
Value field(TIFF* file, std::uint32_t tag, Value missing = {}) {
    Value value = missing;
    return TIFFGetFieldDefaulted(file, tag, &value) ? value : missing;
}

PixelSize sizeOf(TIFF* file) {
    return {static_cast<int>(field<std::uint32_t>(file, TIFFTAG_IMAGEWIDTH)),
            static_cast<int>(field<std::uint32_t>(file, TIFFTAG_IMAGELENGTH))};
}

// Libvips takes its numbers for RGB.
bool isUncodedYcbcr(TIFF* file) {
    const auto compression = field<std::uint16_t>(file, TIFFTAG_COMPRESSION);
    return field<std::uint16_t>(file, TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_YCBCR &&
           compression != COMPRESSION_JPEG && compression != COMPRESSION_OJPEG;
}

// Libvips refuses these.
bool isInPlanesOfTiles(TIFF* file) {
    return TIFFIsTiled(file) && field<std::uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL) > 1 &&
           field<std::uint16_t>(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
}

bool isOfOddDepth(TIFF* file) {
    const auto bits = field<std::uint16_t>(file, TIFFTAG_BITSPERSAMPLE);
    if (field<std::uint16_t>(file, TIFFTAG_SAMPLEFORMAT) == SAMPLEFORMAT_IEEEFP)
        return bits == 16;
    const bool fillsNoByte = bits < 8 && field<std::uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL) > 1;
    return fillsNoByte || !std::has_single_bit(bits);
}

// The samples behind the colours, where the first of them is no alpha: a saved selection, a spot
// colour.
int maskSamples(TIFF* file) {
    std::uint16_t count = 0;
    const std::uint16_t* kinds = nullptr;
    const bool isStated = TIFFGetField(file, TIFFTAG_EXTRASAMPLES, &count, &kinds) && count > 0;
    return isStated && kinds[0] == EXTRASAMPLE_UNSPECIFIED ? count : 0;
}

// See TiffFacts::rows.
ByteView rowsInOrder(TIFF* file, ByteView bytes) {
    const auto number = [&](std::uint32_t tag) { return field<std::uint16_t>(file, tag); };
    const auto bits = number(TIFFTAG_BITSPERSAMPLE);
    const auto photometric = number(TIFFTAG_PHOTOMETRIC);
    const bool isPlain =
        !TIFFIsTiled(file) && number(TIFFTAG_COMPRESSION) == COMPRESSION_NONE &&
        number(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_CONTIG &&
        number(TIFFTAG_FILLORDER) == FILLORDER_MSB2LSB &&
        number(TIFFTAG_SAMPLEFORMAT) == SAMPLEFORMAT_UINT &&
        (bits == 8 || (bits == 16 && !TIFFIsByteSwapped(file))) &&
        number(TIFFTAG_SAMPLESPERPIXEL) == (photometric == PHOTOMETRIC_MINISBLACK  ? 1
                                            : photometric == PHOTOMETRIC_RGB       ? 3
                                            : photometric == PHOTOMETRIC_SEPARATED ? 4
                                                                                   : 0);
    if (!isPlain)
        return {};
    const auto height = field<std::uint32_t>(file, TIFFTAG_IMAGELENGTH);
    const auto inStrip = field<std::uint32_t>(file, TIFFTAG_ROWSPERSTRIP);
    const std::uint64_t first = TIFFGetStrileOffset(file, 0);
    std::uint64_t end = first;
    std::uint32_t row = 0;
    for (std::uint32_t i = 0; i < TIFFNumberOfStrips(file); ++i) {
        const std::uint32_t rows = std::min(inStrip, height - row);
        const std::uint64_t size = TIFFVStripSize64(file, rows);
        if (TIFFGetStrileOffset(file, i) != end || TIFFGetStrileByteCount(file, i) != size)
            return {};
        end += size;
        row += rows;
    }
    const ByteView found = part(bytes, first, end - first);
    return found.size() == end - first && first % 2 == 0 ? found : ByteView();
}

VImage readYcbcr(TIFF* file) {
    const auto [width, height] = sizeOf(file);
    allowPhoto({width, height}, sizeof(std::uint32_t));
    const auto words = std::make_shared<std::vector<std::uint32_t>>(
        static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    // Of the orientation that the file has: nothing is turned.
    if (!TIFFReadRGBAImageOriented(file, static_cast<std::uint32_t>(width),
                                   static_cast<std::uint32_t>(height), words->data(),
                                   field<std::uint16_t>(file, TIFFTAG_ORIENTATION), 1))
        throw std::runtime_error("YCbCr that libtiff does not read");
    return holding(VImage::new_from_memory(words->data(), 4 * words->size(), width, height, 4,
                                           VIPS_FORMAT_UCHAR),
                   words)
        .extract_band(0, VImage::option()->set("n", 3));
}

double ofHalfFloat(std::uint16_t bits) {
    Imath::half value;
    value.setBits(bits);
    return value;
}

VImage readSamples(TIFF* file) {
    const PixelSize size = sizeOf(file);
    const unsigned bits = field<std::uint16_t>(file, TIFFTAG_BITSPERSAMPLE);
    const int samples = field<std::uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL);
    const int photometric = field<std::uint16_t>(file, TIFFTAG_PHOTOMETRIC);
    const int format = field<std::uint16_t>(file, TIFFTAG_SAMPLEFORMAT);
    const bool isFloat = format == SAMPLEFORMAT_IEEEFP;
    const bool isPlanar = field<std::uint16_t>(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    const bool isInverse = photometric == PHOTOMETRIC_MINISWHITE && !isFloat;
    const int channels = photometric <= PHOTOMETRIC_MINISBLACK  ? 1
                         : photometric == PHOTOMETRIC_RGB       ? 3
                         : photometric == PHOTOMETRIC_SEPARATED ? 4
                                                                : 0;
    // Strips are tiles as wide as the image.
    const bool isTiled = TIFFIsTiled(file) != 0;
    const auto most = static_cast<std::uint32_t>(protocol::maximumEdge);
    const auto edge = [&](std::uint32_t tag) {
        return static_cast<int>(std::min(field<std::uint32_t>(file, tag), most));
    };
    const int tileWidth = isTiled ? edge(TIFFTAG_TILEWIDTH) : size.width;
    const int tileHeight = edge(isTiled ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP);
    const tmsize_t line = isTiled ? TIFFTileRowSize(file) : TIFFScanlineSize(file);
    const auto tileBytes =
        static_cast<std::size_t>(isTiled ? TIFFTileSize(file) : TIFFStripSize(file));
    const std::uint32_t inPlane = (isTiled ? TIFFNumberOfTiles(file) : TIFFNumberOfStrips(file)) /
                                  static_cast<std::uint32_t>(isPlanar ? samples : 1);
    if (channels == 0 || samples < channels || bits > 24 || format == SAMPLEFORMAT_INT ||
        tileWidth == 0 || tileHeight == 0 || inPlane == 0)
        throw std::runtime_error("samples of no photo");
    const int kept = std::min(samples - maskSamples(file), channels + 1); // one extra is alpha
    allowPhoto(size, static_cast<std::size_t>(kept) * sizeof(std::uint16_t));
    allowPhoto({1, 1}, tileBytes);

    const auto values = std::make_shared<std::vector<std::uint16_t>>(
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) *
        static_cast<std::size_t>(kept));
    std::vector<std::uint8_t> tile(tileBytes);
    const int across = (size.width - 1) / tileWidth + 1;
    const int together = isPlanar ? 1 : samples;
    const std::uint32_t highest = (1U << bits) - 1;
    const double scale = isFloat ? 1 : 65535.0 / highest;
    for (std::uint32_t i = 0; i < inPlane * static_cast<std::uint32_t>(isPlanar ? kept : 1); ++i) {
        const int plane = static_cast<int>(i / inPlane);
        const int place = static_cast<int>(i % inPlane);
        const int left = place % across * tileWidth;
        const int top = place / across * tileHeight;
        const int rows = std::min(tileHeight, size.height - top);
        const auto bytes = static_cast<tmsize_t>(tile.size());
        const tmsize_t read = isTiled ? TIFFReadEncodedTile(file, i, tile.data(), bytes)
                                      : TIFFReadEncodedStrip(file, i, tile.data(), bytes);
        if (read < line * rows)
            throw std::runtime_error("a TIFF that breaks off");
        // Libtiff turns what fills whole bytes into the machine's order.
        if (std::endian::native == std::endian::little && bits == 16)
            TIFFSwabArrayOfShort(reinterpret_cast<std::uint16_t*>(tile.data()), read / 2);
        if (std::endian::native == std::endian::little && bits == 24)
            TIFFSwabArrayOfTriples(tile.data(), read / 3);
        for (int y = 0; y < rows; ++y) {
            const std::uint8_t* from = tile.data() + line * y;
            std::uint16_t* to =
                values->data() + (std::ptrdiff_t{size.width} * (top + y) + left) * kept;
            std::uint32_t pending = 0;
            unsigned held = 0;
            for (int x = left; x < std::min(left + tileWidth, size.width); ++x, to += kept)
                for (int band = plane; band < plane + together; ++band) {
                    for (; held < bits; held += 8)
                        pending = pending << 8 | *from++;
                    held -= bits;
                    const std::uint32_t value = pending >> held & highest;
                    if (band < kept)
                        to[band] = static_cast<std::uint16_t>(
                            (isInverse && band == 0 ? highest - value : value) * scale + 0.5);
                }
        }
    }

    VImage image =
        holding(VImage::new_from_memory(values->data(), values->size() * sizeof(std::uint16_t),
                                        size.width, size.height, kept, VIPS_FORMAT_USHORT),
                values);
    if (isFloat)
        image = mapped(image, VIPS_FORMAT_FLOAT, ofHalfFloat);
    const VipsInterpretation meaning = channels == 4   ? VIPS_INTERPRETATION_CMYK
                                       : channels == 1 ? VIPS_INTERPRETATION_GREY16
                                       : isFloat       ? VIPS_INTERPRETATION_scRGB
                                                       : VIPS_INTERPRETATION_RGB16;
    std::uint16_t extra = 0;
    const std::uint16_t* kinds = nullptr;
    if (TIFFGetField(file, TIFFTAG_EXTRASAMPLES, &extra, &kinds) && extra > 0 &&
        kinds[0] == EXTRASAMPLE_ASSOCALPHA) {
        image = image.unpremultiply(VImage::option()->set("max_alpha", isFloat ? 1 : 65535));
        if (!isFloat)
            image = image.rint().cast(VIPS_FORMAT_USHORT);
    }
    return image.copy(VImage::option()->set("interpretation", meaning));
}

} // namespace

TiffFacts readTiff(ByteView bytes) {
    TiffFacts facts;
    // What is odd about tags is no damage to pixels, which libvips would report.
    Memory memory{bytes, [](const char*) {}};
    const auto opened = openTiff(memory);
    TIFF* const file = opened.get();
    if (!file)
        return facts;
    const void* version = nullptr;
    const bool isDng = TIFFGetField(file, TIFFTAG_DNGVERSION, &version);
    const bool isCanonRaw = asText(part(bytes, 8, 2)) == "CR";
    std::uint16_t count = 0;
    const std::uint64_t* offsets = nullptr;
    TIFFGetField(file, TIFFTAG_SUBIFD, &count, &offsets);
    const std::vector<std::uint64_t> below(offsets, offsets + count);
    // Sensor data has 32803 or 34892.
    const auto photometric = field<std::uint16_t>(file, TIFFTAG_PHOTOMETRIC, 0xffff);
    facts.isPicture = photometric <= PHOTOMETRIC_ITULAB && !isDng && !isCanonRaw && below.empty() &&
                      !(field<std::uint32_t>(file, TIFFTAG_SUBFILETYPE) & FILETYPE_REDUCEDIMAGE);
    if (const char* make = nullptr; facts.isPicture && TIFFGetField(file, TIFFTAG_MAKE, &make))
        facts.cameraPixels = std::uint64_t{field<std::uint32_t>(file, TIFFTAG_IMAGEWIDTH)} *
                             field<std::uint32_t>(file, TIFFTAG_IMAGELENGTH);
    facts.isIccLab = photometric == PHOTOMETRIC_ICCLAB;
    facts.isForLibtiff = isUncodedYcbcr(file) || isOfOddDepth(file) || isInPlanesOfTiles(file);
    facts.maskSamples = maskSamples(file);
    if (facts.maskSamples == 0)
        facts.rows = rowsInOrder(file, bytes);
    const auto unit = field<std::uint16_t>(file, TIFFTAG_RESOLUTIONUNIT);
    const double perInch = unit == RESUNIT_CENTIMETER ? 2.54 : unit == RESUNIT_INCH ? 1 : 0;
    facts.density =
        usableDensity(perInch * static_cast<double>(field<float>(file, TIFFTAG_XRESOLUTION)),
                      perInch * static_cast<double>(field<float>(file, TIFFTAG_YRESOLUTION)));
    const auto addTiles = [&] {
        const int coding = field<std::uint16_t>(file, TIFFTAG_COMPRESSION);
        const auto tiles = TIFFIsTiled(file) ? TIFFNumberOfTiles(file) : TIFFNumberOfStrips(file);
        for (std::uint32_t i = 0; i < tiles; ++i)
            facts.dngTiles.push_back(
                {coding, TIFFGetStrileOffset(file, i), TIFFGetStrileByteCount(file, i)});
    };
    if (isDng)
        addTiles();
    for (const std::uint64_t directory : below)
        if (isDng && TIFFSetSubDirectory(file, directory))
            addTiles();
    return facts;
}

VImage readTiffPixels(ByteView bytes) {
    Memory memory{bytes, noteWarning};
    const auto opened = openTiff(memory);
    TIFF* const file = opened.get();
    VImage image = isUncodedYcbcr(file) ? readYcbcr(file) : readSamples(file);
    image.set(VIPS_META_ORIENTATION, field<std::uint16_t>(file, TIFFTAG_ORIENTATION));
    std::uint32_t size = 0;
    const void* profile = nullptr;
    if (TIFFGetField(file, TIFFTAG_ICCPROFILE, &size, &profile))
        vips_image_set_blob_copy(image.get_image(), VIPS_META_ICC_NAME, profile, size);
    return image;
}

} // namespace lumivert::decoder
