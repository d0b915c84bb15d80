#include "decoder/Damage.h"

#include "decoder/Jpeg.h"
#include "decoder/PhotoFacts.h"
#include "decoder/Tiff.h"

#include <vips/vips8>

#include <algorithm>
#include <array>
#include <atomic>
#include <ranges>
#include <utility>
#include <zlib.h>

namespace lumivert::decoder {
namespace {

std::atomic<bool> damaged = false;

// What libtiff, the JPEG library inside it and the GIF reader say before they paint over a gap.
// Others are about tags that no pixel depends on.
constexpr std::array damageWords{
    "Corrupt JPEG data", "Premature",          "premature",           "Discarding",
    "buffer overrun",    "Invalid frame data", "ot enough data",      "ColorMap",
    "Colormap",          "Bad code word",      "Line length mismatch"};

// No coder of HEVC or AV1 writes so many zeros in a row, nor ends with even a few.
bool hasHole(ByteView coded) {
    constexpr int longest = 24;
    constexpr int longestAtEnd = 3;
    const auto hasZeros = [](ByteView bytes, int count) {
        return std::search_n(bytes.begin(), bytes.end(), count, std::byte{0}) != bytes.end();
    };
    return hasZeros(coded, longest + 1) ||
           hasZeros(coded.last(std::min<std::size_t>(coded.size(), longestAtEnd + 1)),
                    longestAtEnd + 1);
}

// The items of a type that is a coded picture (ISO/IEC 14496-12, 8.11.6).
std::vector<std::uint64_t> codedItems(ByteView info) {
    std::vector<std::uint64_t> items;
    for (const Block& entry : isoBoxes(part(info, bigEndian(info, 0, 1) == 0 ? 6 : 8))) {
        const std::uint64_t version = bigEndian(entry.content, 0, 1);
        const std::size_t idSize = version >= 3 ? 4 : 2;
        const std::string_view type = asText(part(entry.content, 4 + idSize + 2, 4));
        if (version >= 2 && (type == "hvc1" || type == "av01"))
            items.push_back(bigEndian(entry.content, 4, idSize));
    }
    return items;
}

// Whether the places of these items (8.11.3) hold data.
bool areWhole(ByteView file, ByteView locations, const std::vector<std::uint64_t>& items) {
    const std::uint64_t version = bigEndian(locations, 0, 1);
    const auto offsetSize = bigEndian(locations, 4, 1) >> 4;
    const auto lengthSize = bigEndian(locations, 4, 1) & 15;
    const auto baseSize = bigEndian(locations, 5, 1) >> 4;
    const auto indexSize = version > 0 ? bigEndian(locations, 5, 1) & 15 : 0;
    const std::size_t idSize = version < 2 ? 2 : 4;
    std::size_t at = 6;
    const auto next = [&](std::size_t size) {
        return bigEndian(locations, std::exchange(at, at + size), size);
    };
    for (auto count = next(idSize); count > 0 && at < locations.size(); --count) {
        const auto item = next(idSize);
        const auto method = version > 0 ? next(2) & 15 : 0;
        (void)next(2);
        const auto base = next(baseSize);
        const bool isCoded = method == 0 && std::ranges::find(items, item) != items.end();
        for (auto extents = next(2); extents > 0 && at < locations.size(); --extents) {
            (void)next(indexSize);
            const auto offset = base + next(offsetSize);
            if (const auto length = next(lengthSize);
                isCoded && hasHole(part(file, offset, length)))
                return false;
        }
    }
    return true;
}

bool isWholeHeif(ByteView file) {
    for (const Block& meta : isoBoxes(file)) {
        std::vector<std::uint64_t> items;
        ByteView locations;
        for (const Block& box : isoBoxes(part(meta.content, 4))) {
            if (box.name == "iinf")
                items = codedItems(box.content);
            if (box.name == "iloc")
                locations = box.content;
        }
        if (meta.name == "meta" && !areWhole(file, locations, items))
            return false;
    }
    return true;
}

bool endsAsAJpeg(ByteView bytes) {
    const auto end = std::find_if(bytes.rbegin(), bytes.rend(),
                                  [](std::byte byte) { return byte != std::byte{0}; });
    const auto size = static_cast<std::size_t>(bytes.rend() - end);
    return size >= 2 && bigEndian(bytes, size - 2, 2) == 0xffd9;
}

// LibRaw fills up what the file has no more, and lets libjpeg warn nobody. What lacks data in any
// other TIFF libtiff refuses.
bool isWholeDng(ByteView file) {
    constexpr int losslessJpeg = 7;
    constexpr int lossyJpeg = 34892; // DNG 1.4, Compression
    return std::ranges::all_of(readTiff(file).dngTiles, [&](const TiffFacts::Coded& tile) {
        const ByteView data = part(file, tile.at, tile.size);
        const bool isJpeg = tile.compression == losslessJpeg || tile.compression == lossyJpeg;
        return data.size() == tile.size && (!isJpeg || endsAsAJpeg(data)) &&
               (tile.compression != lossyJpeg || isWholeJpeg(data));
    });
}

// Each chunk has a checksum (PNG, 5.3 and 5.4). Libspng, where libvips reads by it, looks at none.
bool isWholePng(ByteView file) {
    for (const auto& [name, content] : pngChunks(file, true)) {
        const auto at = static_cast<std::uint64_t>(content.data() - file.data());
        const ByteView checked = part(file, at - 4, 4 + content.size());
        if (::crc32_z(0, reinterpret_cast<const Bytef*>(checked.data()), checked.size()) !=
            bigEndian(file, at + content.size(), 4))
            return false;
        if (name == "IEND")
            break;
    }
    return true; // of one that is cut the reader knows whether pixels are missing
}

// GIF89a, 15 to 27: blocks until the first picture's last sub-block; then another one begins.
bool isWholeGif(ByteView bytes) {
    const auto tableSize = [&](std::size_t flags) -> std::size_t {
        const auto bits = bigEndian(bytes, flags, 1);
        return (bits & 0x80) != 0 ? std::size_t{3} << ((bits & 7) + 1) : 0;
    };
    std::size_t at = 13 + tableSize(10);
    for (bool hasPicture = false; at < bytes.size();) {
        const auto kind = bigEndian(bytes, at, 1);
        if (kind != 0x21 && kind != 0x2c && kind != 0x3b)
            return false;
        if (hasPicture || kind == 0x3b)
            return hasPicture;
        hasPicture = kind == 0x2c;
        at += hasPicture ? 11 + tableSize(at + 9) : 2;
        while (bigEndian(bytes, at, 1) != 0)
            at += 1 + bigEndian(bytes, at, 1);
        ++at;
    }
    return false;
}

} // namespace

bool isWhole(ByteView bytes) {
    const PhotoFormat* format = formatOf(bytes);
    if (!format)
        return true;
    switch (format->kind) {
    case PhotoKind::jpeg:
        return isWholeJpeg(bytes);
    case PhotoKind::png:
        return isWholePng(bytes);
    case PhotoKind::gif:
        return isWholeGif(bytes);
    case PhotoKind::tiff:
        return isWholeDng(bytes);
    case PhotoKind::heic:
    case PhotoKind::avif:
        return isWholeHeif(bytes);
    default:
        return true;
    }
}

void noteWarning(const char* message) {
    const std::string_view text = message;
    if (std::ranges::any_of(damageWords,
                            [&](const char* word) { return text.find(word) != text.npos; }))
        damaged = true;
}

void noteDamage() {
    damaged = true;
}

bool isDamaged() {
    const std::string_view errors = vips_error_buffer();
    return damaged || std::ranges::any_of(errors | std::views::split('\n'), [](const auto& line) {
               const std::string_view text(line.begin(), line.end());
               // The texts of JWRN_JFIF_MAJOR and JWRN_ADOBE_XFORM.
               return !text.empty() && text.find("unknown JFIF revision") == text.npos &&
                      text.find("Unknown Adobe color transform") == text.npos;
           });
}

void forgetDamage() {
    vips_error_clear();
    damaged = false;
}

} // namespace lumivert::decoder
