#include "decoder/Damage.h"

#include "decoder/JpegCheck.h"
#include "decoder/PhotoFacts.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace lumivert::decoder {
namespace {

using View = std::span<const std::byte>;

std::atomic<bool> damaged = false;

// What libtiff, the JPEG library inside it and the GIF reader say before they paint over a gap.
// Others are about tags that no pixel depends on.
constexpr std::array damageWords{
    "Corrupt JPEG data", "Premature",          "premature",           "Discarding",
    "buffer overrun",    "Invalid frame data", "ot enough data",      "ColorMap",
    "Colormap",          "Bad code word",      "Line length mismatch"};

// A big-endian number; 0 beyond the end.
std::uint64_t number(View bytes, std::size_t at, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value = value << 8 |
                (at + i < bytes.size() ? std::to_integer<std::uint64_t>(bytes[at + i]) : 0);
    return value;
}

bool isNamed(View bytes, std::size_t at, const char* name) {
    return at + 4 <= bytes.size() && std::memcmp(bytes.data() + at, name, 4) == 0;
}

View part(View bytes, std::uint64_t at, std::uint64_t size) {
    const std::uint64_t from = std::min<std::uint64_t>(at, bytes.size());
    return bytes.subspan(from, std::min<std::uint64_t>(size, bytes.size() - from));
}

// No coder of HEVC or AV1 writes so many zeros in a row, nor ends with even a few.
bool hasHole(View coded) {
    constexpr int longest = 24;
    constexpr int longestAtEnd = 3;
    int run = 0;
    const bool isBroken = std::ranges::any_of(coded, [&](std::byte byte) {
        run = byte == std::byte{0} ? run + 1 : 0;
        return run > longest;
    });
    return isBroken || run > longestAtEnd;
}

// Calls `take` with the name and the content of each box (ISO/IEC 14496-12, 4.2) until one is none.
template <class Take>
void forEachBox(View bytes, Take take) {
    for (std::uint64_t at = 0; at + 8 <= bytes.size();) {
        std::uint64_t size = number(bytes, at, 4);
        const std::uint64_t head = size == 1 ? 16 : 8;
        if (size == 1)
            size = number(bytes, at + 8, 8);
        if (size == 0)
            size = bytes.size() - at;
        if (size < head)
            return;
        take(at + 4, part(bytes, at + head, size - head));
        if (size > bytes.size() - at)
            return;
        at += size;
    }
}

// The items of a type that is a coded picture (ISO/IEC 14496-12, 8.11.6).
std::vector<std::uint64_t> codedItems(View info) {
    std::vector<std::uint64_t> items;
    const View entries = part(info, number(info, 0, 1) == 0 ? 6 : 8, info.size());
    forEachBox(entries, [&](std::size_t, View entry) {
        const std::uint64_t version = number(entry, 0, 1);
        const std::size_t idSize = version >= 3 ? 4 : 2;
        const std::size_t type = 4 + idSize + 2;
        if (version >= 2 && (isNamed(entry, type, "hvc1") || isNamed(entry, type, "av01")))
            items.push_back(number(entry, 4, idSize));
    });
    return items;
}

// Whether the places of these items (8.11.3) hold data.
bool areWhole(View file, View locations, const std::vector<std::uint64_t>& items) {
    const std::uint64_t version = number(locations, 0, 1);
    const auto offsetSize = number(locations, 4, 1) >> 4;
    const auto lengthSize = number(locations, 4, 1) & 15;
    const auto baseSize = number(locations, 5, 1) >> 4;
    const auto indexSize = version > 0 ? number(locations, 5, 1) & 15 : 0;
    const std::size_t idSize = version < 2 ? 2 : 4;
    std::size_t at = 6;
    const auto next = [&](std::size_t size) {
        return number(locations, std::exchange(at, at + size), size);
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

bool isWholeHeif(View bytes) {
    bool isWhole = true;
    forEachBox(bytes, [&](std::size_t name, View content) {
        if (!isNamed(bytes, name, "meta"))
            return;
        const View boxes = part(content, 4, content.size());
        std::vector<std::uint64_t> items;
        View locations;
        forEachBox(boxes, [&](std::size_t inner, View box) {
            if (isNamed(boxes, inner, "iinf"))
                items = codedItems(box);
            if (isNamed(boxes, inner, "iloc"))
                locations = box;
        });
        isWhole = isWhole && areWhole(bytes, locations, items);
    });
    return isWhole;
}

// The numbers of a TIFF directory's entry (TIFF 6.0, section 2).
class TiffFile {
public:
    explicit TiffFile(View bytes)
        : m_bytes(bytes)
        , m_isLittle(bytes[0] == std::byte{'I'}) {}

    [[nodiscard]] std::uint64_t at(std::uint64_t place, std::size_t size) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i)
            value = value << 8 | number(m_bytes, place + (m_isLittle ? size - 1 - i : i), 1);
        return value;
    }
    [[nodiscard]] std::vector<std::uint64_t> values(std::uint64_t directory, int tag) const {
        std::vector<std::uint64_t> found;
        for (std::uint64_t i = 0; i < at(directory, 2); ++i) {
            const std::uint64_t entry = directory + 2 + 12 * i;
            if (at(entry, 2) != static_cast<std::uint64_t>(tag))
                continue;
            const std::size_t size = at(entry + 2, 2) == 3 ? 2 : 4;
            const std::uint64_t count = std::min<std::uint64_t>(at(entry + 4, 4), m_bytes.size());
            const std::uint64_t from = count * size > 4 ? at(entry + 8, 4) : entry + 8;
            for (std::uint64_t k = 0; k < count && from + k * size < m_bytes.size(); ++k)
                found.push_back(at(from + k * size, size));
        }
        return found;
    }
    [[nodiscard]] View bytes() const { return m_bytes; }

private:
    View m_bytes;
    bool m_isLittle;
};

bool endsAsAJpeg(View bytes) {
    const auto end = std::find_if(bytes.rbegin(), bytes.rend(),
                                  [](std::byte byte) { return byte != std::byte{0}; });
    const auto size = static_cast<std::size_t>(bytes.rend() - end);
    return size >= 2 && number(bytes, size - 2, 2) == 0xffd9;
}

// The tiles or strips of one directory. LibRaw fills up what the file has no more, and lets libjpeg
// warn nobody.
bool isWholeDirectory(const TiffFile& file, std::uint64_t directory) {
    constexpr std::uint64_t losslessJpeg = 7;
    constexpr std::uint64_t lossyJpeg = 34892; // DNG 1.4, Compression
    const auto compression = file.values(directory, 259);
    for (const auto& [offsetTag, sizeTag] : {std::pair{273, 279}, std::pair{324, 325}}) {
        const auto offsets = file.values(directory, offsetTag);
        const auto sizes = file.values(directory, sizeTag);
        for (std::size_t i = 0; i < std::min(offsets.size(), sizes.size()); ++i) {
            const View tile = part(file.bytes(), offsets[i], sizes[i]);
            const bool isJpeg = !compression.empty() &&
                                (compression[0] == losslessJpeg || compression[0] == lossyJpeg);
            if (tile.size() != sizes[i] || (isJpeg && !endsAsAJpeg(tile)) ||
                (isJpeg && compression[0] == lossyJpeg && !isWholeJpeg(tile)))
                return false;
        }
    }
    return true;
}

bool isWholeDng(View bytes) {
    const TiffFile file(bytes);
    const std::uint64_t first = file.at(4, 4);
    constexpr int dngVersion = 50706;
    if (file.values(first, dngVersion).empty())
        return true; // libtiff refuses a TIFF that lacks data
    auto directories = file.values(first, 330);
    directories.push_back(first);
    return std::ranges::all_of(
        directories, [&](std::uint64_t directory) { return isWholeDirectory(file, directory); });
}

// GIF89a, 15 to 27: blocks until the first picture's last sub-block; then another one begins.
bool isWholeGif(View bytes) {
    const auto tableSize = [&](std::size_t flags) -> std::size_t {
        const auto bits = number(bytes, flags, 1);
        return (bits & 0x80) != 0 ? std::size_t{3} << ((bits & 7) + 1) : 0;
    };
    std::size_t at = 13 + tableSize(10);
    for (bool hasPicture = false; at < bytes.size();) {
        const auto kind = number(bytes, at, 1);
        if (kind != 0x21 && kind != 0x2c && kind != 0x3b)
            return false;
        if (hasPicture || kind == 0x3b)
            return hasPicture;
        hasPicture = kind == 0x2c;
        at += hasPicture ? 11 + tableSize(at + 9) : 2;
        while (number(bytes, at, 1) != 0)
            at += 1 + number(bytes, at, 1);
        ++at;
    }
    return false;
}

} // namespace

bool isWhole(View bytes) {
    const PhotoFormat* format = formatOf(bytes);
    if (!format)
        return true;
    switch (format->kind) {
    case PhotoKind::jpeg:
        return isWholeJpeg(bytes);
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

bool isHarmless(std::string_view messages) {
    while (!messages.empty()) {
        const std::string_view line = messages.substr(0, messages.find('\n'));
        // The texts of JWRN_JFIF_MAJOR and JWRN_ADOBE_XFORM.
        if (line.find("unknown JFIF revision") == line.npos &&
            line.find("Unknown Adobe color transform") == line.npos)
            return false;
        messages.remove_prefix(std::min(messages.size(), line.size() + 1));
    }
    return true;
}

void noteWarning(const char* message) {
    const std::string_view text = message;
    if (std::ranges::any_of(damageWords,
                            [&](const char* word) { return text.find(word) != text.npos; }))
        damaged = true;
}

bool isDamaged() {
    return damaged;
}

void forgetDamage() {
    damaged = false;
}

} // namespace lumivert::decoder
