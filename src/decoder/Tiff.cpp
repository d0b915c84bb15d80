#include "decoder/Tiff.h"

#include "decoder/Confinement.h"
#include "decoder/Damage.h"
#include "decoder/Strips.h"

#include <Imath/half.h>
#include <algorithm>
#include <bit>
#include <climits>
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
bool isOfOddDepth(TIFF* file) {
    const auto bits = field<std::uint16_t>(file, TIFFTAG_BITSPERSAMPLE);
    if (field<std::uint16_t>(file, TIFFTAG_SAMPLEFORMAT) == SAMPLEFORMAT_IEEEFP)
        return bits == 16;
    const bool fillsNoByte = bits < 8 && field<std::uint16_t>(file, TIFFTAG_SAMPLESPERPIXEL) > 1;
    return fillsNoByte || !std::has_single_bit(bits);
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

VImage fromHalfFloats(const VImage& bits) {
    std::vector<float> values(65536);
    for (std::size_t i = 0; i < values.size(); ++i) {
        Imath::half value;
        value.setBits(static_cast<std::uint16_t>(i));
        values[i] = value;
    }
    return bits.maplut(VImage::new_from_memory(values.data(), values.size() * sizeof(float), 65536,
                                               1, 1, VIPS_FORMAT_FLOAT));
}

// Calls `take(rows, line, area, plane)` with the decoded bytes of each strip or tile, `line` bytes
// a row, and the part of the image that they show. What libtiff has turned into the machine's order
// comes as all other samples do, the most significant byte first.
template <class Take>
void forEachBlock(TIFF* file, int planes, unsigned bits, const Take& take) {
    const auto [width, height] = sizeOf(file);
    const bool isTiled = TIFFIsTiled(file) != 0;
    const auto edge = [&](std::uint32_t tag, int most) {
        return static_cast<int>(
            std::min(field<std::uint32_t>(file, tag), static_cast<std::uint32_t>(most)));
    };
    const int blockWidth = isTiled ? edge(TIFFTAG_TILEWIDTH, INT_MAX) : width;
    const int blockHeight =
        isTiled ? edge(TIFFTAG_TILELENGTH, INT_MAX) : edge(TIFFTAG_ROWSPERSTRIP, height);
    const tmsize_t line = isTiled ? TIFFTileRowSize(file) : TIFFScanlineSize(file);
    const tmsize_t size = isTiled ? TIFFTileSize(file) : TIFFStripSize(file);
    allowPhoto({blockWidth, blockHeight},
               static_cast<std::size_t>(line / std::max(blockWidth, 1) + 1));
    std::vector<std::uint8_t> block(static_cast<std::size_t>(size));
    const auto at = [](int place) { return static_cast<std::uint32_t>(place); };
    for (int plane = 0; plane < planes; ++plane)
        for (int top = 0; top < height; top += blockHeight)
            for (int left = 0; left < width; left += blockWidth) {
                const PixelRect area{left, top, std::min(blockWidth, width - left),
                                     std::min(blockHeight, height - top)};
                const auto sample = static_cast<std::uint16_t>(plane);
                const tmsize_t read =
                    isTiled
                        ? TIFFReadEncodedTile(file,
                                              TIFFComputeTile(file, at(left), at(top), 0, sample),
                                              block.data(), size)
                        : TIFFReadEncodedStrip(file, TIFFComputeStrip(file, at(top), sample),
                                               block.data(), size);
                if (read < line * area.height)
                    throw std::runtime_error("a TIFF that breaks off");
                if (std::endian::native == std::endian::little && bits == 16)
                    TIFFSwabArrayOfShort(reinterpret_cast<std::uint16_t*>(block.data()), read / 2);
                if (std::endian::native == std::endian::little && bits == 24)
                    TIFFSwabArrayOfTriples(block.data(), read / 3);
                take(block.data(), line, area, plane);
            }
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
    if (channels == 0 || samples < channels || bits > 24 || format == SAMPLEFORMAT_INT)
        throw std::runtime_error("samples of no photo");
    const int kept = std::min(samples, channels + 1); // the first extra one is alpha
    allowPhoto(size, static_cast<std::size_t>(kept) * sizeof(std::uint16_t));
    const auto values = std::make_shared<std::vector<std::uint16_t>>(
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) *
        static_cast<std::size_t>(kept));

    const int together = isPlanar ? 1 : samples;
    const std::uint32_t most = (1U << bits) - 1;
    const double scale = isFloat ? 1 : 65535.0 / most;
    forEachBlock(
        file, isPlanar ? kept : 1, bits,
        [&](const std::uint8_t* rows, tmsize_t line, const PixelRect& area, int plane) {
            for (int y = 0; y < area.height; ++y) {
                const std::uint8_t* from = rows + line * y;
                std::uint16_t* to =
                    values->data() + (std::ptrdiff_t{size.width} * (area.y + y) + area.x) * kept;
                std::uint32_t pending = 0;
                unsigned held = 0;
                for (int x = 0; x < area.width; ++x, to += kept)
                    for (int band = plane; band < plane + together; ++band) {
                        for (; held < bits; held += 8)
                            pending = pending << 8 | *from++;
                        held -= bits;
                        const std::uint32_t value = pending >> held & most;
                        if (band < kept)
                            to[band] = static_cast<std::uint16_t>(
                                (isInverse && band == 0 ? most - value : value) * scale + 0.5);
                    }
            }
        });

    VImage image =
        holding(VImage::new_from_memory(values->data(), values->size() * sizeof(std::uint16_t),
                                        size.width, size.height, kept, VIPS_FORMAT_USHORT),
                values);
    if (isFloat)
        image = fromHalfFloats(image);
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
    facts.isIccLab = photometric == PHOTOMETRIC_ICCLAB;
    facts.isForLibtiff = isUncodedYcbcr(file) || isOfOddDepth(file);
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
