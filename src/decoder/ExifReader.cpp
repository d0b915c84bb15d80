#include "decoder/ExifReader.h"

#include "platform/decoder/DecoderProtocol.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace lumivert::decoder {
namespace {

// TIFF 6.0, section 8; Exif 2.32, 4.6.
enum Tag : std::uint32_t {
    interoperabilityIndex = 1,
    newSubfileType = 254,
    photometricInterpretation = 262,
    orientationTag = 274,
    xResolution = 282,
    yResolution = 283,
    resolutionUnit = 296,
    subDirectories = 330,
    exifDirectory = 34665,
    dngVersion = 50706,
    colorSpace = 40961,
    interoperabilityDirectory = 40965,
};

constexpr std::array<std::size_t, 19> typeSizes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4,
                                                8, 4, 8, 4, 0, 0, 8, 8, 8};

// Bounds-checked view of the structure; reads outside yield nothing.
class Tiff {
public:
    explicit Tiff(std::span<const std::byte> bytes)
        : m_bytes(bytes) {}

    struct Entry {
        std::uint32_t tag = 0;
        std::uint32_t type = 0;
        std::uint64_t count = 0;
        std::uint64_t valueOffset = 0;
    };

    // The first directory's offset.
    std::optional<std::uint64_t> open() {
        if (m_bytes.size() < 8)
            return std::nullopt;
        if (m_bytes[0] != m_bytes[1] ||
            (m_bytes[0] != std::byte{'I'} && m_bytes[0] != std::byte{'M'}))
            return std::nullopt;
        m_littleEndian = m_bytes[0] == std::byte{'I'};
        const auto magic = number(2, 2);
        m_big = magic == 43;
        if (magic != 42 && !m_big)
            return std::nullopt;
        return m_big ? number(8, 8) : number(4, 4);
    }

    std::optional<std::uint64_t> number(std::uint64_t offset, std::size_t size) const {
        if (offset > m_bytes.size() || m_bytes.size() - offset < size)
            return std::nullopt;
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t at = m_littleEndian ? size - 1 - i : i;
            value = value << 8 | std::to_integer<std::uint64_t>(m_bytes[offset + at]);
        }
        return value;
    }

    template <class Visit>
    void entries(std::uint64_t directory, Visit visit) const {
        const std::size_t countSize = m_big ? 8 : 2;
        const std::size_t entrySize = m_big ? 20 : 12;
        const auto count = number(directory, countSize);
        if (!count)
            return;
        for (std::uint64_t i = 0; i < std::min<std::uint64_t>(*count, 4096); ++i) {
            const std::uint64_t at = directory + countSize + i * entrySize;
            const auto tag = number(at, 2);
            const auto type = number(at + 2, 2);
            const auto values = number(at + 4, m_big ? 8 : 4);
            if (!tag || !type || !values)
                return;
            if (*type >= typeSizes.size() || *values > m_bytes.size())
                continue;
            const std::uint64_t bytes = typeSizes[*type] * *values;
            const std::size_t inlineSize = m_big ? 8 : 4;
            const std::uint64_t inlineAt = at + (m_big ? 12 : 8);
            const auto offset =
                bytes <= inlineSize ? std::optional(inlineAt) : number(inlineAt, inlineSize);
            if (offset && bytes > 0)
                visit(Entry{static_cast<std::uint32_t>(*tag), static_cast<std::uint32_t>(*type),
                            *values, *offset});
        }
    }

    std::optional<std::uint64_t> integer(const Entry& entry) const {
        switch (entry.type) {
        case 1:  // BYTE
        case 3:  // SHORT
        case 4:  // LONG
        case 13: // IFD
        case 16: // LONG8
        case 18: // IFD8
            return number(entry.valueOffset, typeSizes[entry.type]);
        default:
            return std::nullopt;
        }
    }

    double rational(const Entry& entry) const {
        if (entry.type != 5)
            return static_cast<double>(integer(entry).value_or(0));
        const auto numerator = number(entry.valueOffset, 4);
        const auto denominator = number(entry.valueOffset + 4, 4);
        if (!numerator || !denominator || *denominator == 0)
            return 0;
        return static_cast<double>(*numerator) / static_cast<double>(*denominator);
    }

    bool startsWith(const Entry& entry, const char* text) const {
        const std::size_t length = std::strlen(text);
        return entry.count >= length && entry.valueOffset <= m_bytes.size() &&
               m_bytes.size() - entry.valueOffset >= length &&
               std::memcmp(m_bytes.data() + entry.valueOffset, text, length) == 0;
    }

private:
    std::span<const std::byte> m_bytes;
    bool m_littleEndian = false;
    bool m_big = false;
};

} // namespace

std::optional<Density> usableDensity(double x, double y) {
    using protocol::isUsable;
    if (!isUsable(x) && !isUsable(y))
        return std::nullopt;
    return Density{isUsable(x) ? x : y, isUsable(y) ? y : x};
}

ExifFacts readExif(std::span<const std::byte> bytes) {
    constexpr std::size_t prefix = 6;
    if (bytes.size() > prefix && std::memcmp(bytes.data(), "Exif\0\0", prefix) == 0)
        bytes = bytes.subspan(prefix);
    ExifFacts facts;
    Tiff tiff(bytes);
    const auto first = tiff.open();
    if (!first)
        return facts;

    double x = 0;
    double y = 0;
    std::uint64_t unit = 2; // inches, where it is not stated
    std::optional<std::uint64_t> exif;
    tiff.entries(*first, [&](const Tiff::Entry& entry) {
        switch (entry.tag) {
        case orientationTag:
            if (const auto value = tiff.integer(entry); value && *value >= 1 && *value <= 8)
                facts.orientation = static_cast<int>(*value);
            break;
        case xResolution:
            x = tiff.rational(entry);
            break;
        case yResolution:
            y = tiff.rational(entry);
            break;
        case resolutionUnit:
            unit = tiff.integer(entry).value_or(unit);
            break;
        case photometricInterpretation:
            if (const auto value = tiff.integer(entry))
                facts.photometric = static_cast<std::uint32_t>(*value);
            break;
        case newSubfileType:
            if (const auto value = tiff.integer(entry))
                facts.subfileType = static_cast<std::uint32_t>(*value);
            break;
        case subDirectories:
            facts.hasSubDirectories = true;
            break;
        case dngVersion:
            facts.hasDngVersion = true;
            break;
        case exifDirectory:
            exif = tiff.integer(entry);
            break;
        default:
            break;
        }
    });
    if (unit == 2 || unit == 3) {
        const double perInch = unit == 3 ? 2.54 : 1;
        facts.density = usableDensity(x * perInch, y * perInch);
    }
    if (!exif)
        return facts;

    bool uncalibrated = false;
    std::optional<std::uint64_t> interoperability;
    tiff.entries(*exif, [&](const Tiff::Entry& entry) {
        if (entry.tag == colorSpace)
            uncalibrated = tiff.integer(entry) == 65535;
        if (entry.tag == interoperabilityDirectory)
            interoperability = tiff.integer(entry);
    });
    if (uncalibrated && interoperability)
        tiff.entries(*interoperability, [&](const Tiff::Entry& entry) {
            if (entry.tag == interoperabilityIndex && entry.type == 2)
                facts.adobeRgb = tiff.startsWith(entry, "R03");
        });
    return facts;
}

} // namespace lumivert::decoder
