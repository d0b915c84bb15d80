#include "decoder/Confinement.h"
#include "decoder/OwnReaders.h"
#include "decoder/Strips.h"

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <vector>

namespace lumivert::decoder {
namespace {

using vips::VImage;

// What the header calls compression.
enum Coding : std::uint32_t { plain, rle8, rle4, bitfields, alphaBitfields = 6 };

// The palette's numbers, a byte each, row by row as they are stored.
std::vector<std::byte> unpackedRuns(ByteView coded, PixelSize size, bool areHalfBytes) {
    const auto width = static_cast<std::size_t>(size.width);
    std::vector<std::byte> numbers(width * static_cast<std::size_t>(size.height));
    std::size_t x = 0;
    std::size_t row = 0; // where it begins
    std::size_t at = 0;
    const auto next = [&] {
        if (at >= coded.size())
            throw std::runtime_error("a bitmap that breaks off");
        return std::to_integer<unsigned>(coded[at++]);
    };
    for (;;) {
        const unsigned run = next();
        unsigned value = next();
        if (run == 0 && value == 1)
            return numbers;
        if (run == 0 && value == 0) { // the next row
            x = 0;
            row += width;
        } else if (run == 0 && value == 2) { // a step
            x += next();
            row += width * next();
        } else { // one value again and again, or so many as they are, up to a whole word
            const std::size_t begin = at;
            const unsigned count = run > 0 ? run : value;
            if (x + count > width || row >= numbers.size())
                throw std::runtime_error("a bitmap whose runs leave it");
            for (unsigned i = 0; i < count; ++i) {
                const bool isSecondHalf = areHalfBytes && i % 2 != 0;
                if (run == 0 && !isSecondHalf)
                    value = next();
                numbers[row + x++] = static_cast<std::byte>(isSecondHalf   ? value & 15
                                                            : areHalfBytes ? value >> 4
                                                                           : value);
            }
            at += (at - begin) % 2;
        }
    }
}

} // namespace

VImage readBmp(ByteView file) {
    const auto number = [&](std::uint64_t at, std::size_t size = 4) {
        return static_cast<std::uint32_t>(littleEndian(file, at, size));
    };
    constexpr std::uint32_t infoAt = 14;
    const std::uint32_t infoSize = number(infoAt);
    const auto rows = static_cast<std::int32_t>(number(22)); // below 0: from the top down
    const PixelSize size{static_cast<int>(number(18)), rows > INT_MIN ? std::abs(rows) : 0};
    const unsigned bits = number(28, 2);
    const std::uint32_t coding = number(30);
    const bool areRuns = (coding == rle8 && bits == 8) || (coding == rle4 && bits == 4);
    const bool hasMasks =
        (coding == bitfields || coding == alphaBitfields) && (bits == 16 || bits == 32);
    if (infoSize < 40 || infoSize > 124 || (coding != plain && !areRuns && !hasMasks) ||
        bits > 32 || (bits != 24 && !std::has_single_bit(bits)))
        throw std::runtime_error("no bitmap of a photo");
    allowPhoto(size, areRuns ? 1 : 0);

    // Of a colour of the palette, or of a pixel where there is none.
    std::array<std::uint32_t, 4> masks{0xff0000, 0xff00, 0xff, 0};
    if (bits == 16)
        masks = {0x7c00, 0x3e0, 0x1f, 0};
    const bool hasAlphaMask = infoSize >= 56 || coding == alphaBitfields;
    for (std::size_t i = 0; i < (hasAlphaMask ? 4 : 3) && hasMasks; ++i)
        masks[i] = number(54 + 4 * i);
    std::array<double, 4> scales{};
    for (std::size_t i = 0; i < masks.size(); ++i)
        scales[i] = masks[i] == 0 ? 0 : 255.0 / masks[i];
    const int bands = masks[3] != 0 ? 4 : 3;
    const std::uint32_t most = bits <= 8 ? 1U << bits : 0;
    std::array<std::uint32_t, 256> palette{};
    const std::uint32_t stated = number(46);
    for (std::uint32_t i = 0; i < (stated > 0 ? std::min(stated, most) : most); ++i)
        palette[i] = number(infoAt + infoSize + 4 * i);

    const ByteView coded = part(file, number(10));
    const auto unpacked = std::make_shared<const std::vector<std::byte>>(
        areRuns ? unpackedRuns(coded, size, coding == rle4) : std::vector<std::byte>());
    const ByteView pixels = areRuns ? ByteView(*unpacked) : coded;
    const unsigned depth = areRuns ? 8 : bits;
    const std::size_t line = static_cast<std::size_t>(size.width) * depth;
    const std::size_t stride = areRuns ? line / 8 : (line + 31) / 32 * 4;
    if (pixels.size() / stride < static_cast<std::size_t>(size.height))
        throw std::runtime_error("a bitmap that breaks off");
    const auto fill = [=, kept = unpacked](VipsRegion* out, VipsRegion*) {
        const VipsRect& area = out->valid;
        for (int y = area.top; y < area.top + area.height; ++y) {
            const int storedRow = rows < 0 ? y : size.height - 1 - y;
            const std::byte* row = pixels.data() + stride * static_cast<std::size_t>(storedRow);
            VipsPel* to = VIPS_REGION_ADDR(out, area.left, y);
            for (int x = area.left; x < area.left + area.width; ++x) {
                const std::size_t bit = static_cast<std::size_t>(x) * depth;
                std::uint32_t pixel = 0;
                for (std::size_t i = bit / 8 + (depth + 7) / 8; i > bit / 8; --i)
                    pixel = pixel << 8 | std::to_integer<std::uint32_t>(row[i - 1]);
                if (depth <= 8)
                    pixel = palette[pixel >> (8 - depth - bit % 8) & (most - 1)];
                for (std::size_t c = 0; c < static_cast<std::size_t>(bands); ++c)
                    *to++ = static_cast<VipsPel>((pixel & masks[c]) * scales[c] + 0.5);
            }
        }
        return true;
    };
    const VImage image =
        generated(VImage::black(size.width, size.height), bands, VIPS_FORMAT_UCHAR, fill);
    VipsImage* const about = image.get_image();
    about->Type = VIPS_INTERPRETATION_sRGB;
    about->Xres = number(38) / 1000.0; // from dots a metre
    about->Yres = number(42) / 1000.0;
    constexpr std::uint32_t embedded = 0x4d424544; // 'MBED'
    if (infoSize == 124 && number(70) == embedded) {
        const ByteView profile = part(file, infoAt + std::uint64_t{number(126)}, number(130));
        vips_image_set_blob_copy(about, VIPS_META_ICC_NAME, profile.data(), profile.size());
    }
    return image;
}

} // namespace lumivert::decoder
