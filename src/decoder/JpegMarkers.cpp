#include "decoder/JpegMarkers.h"

#include "platform/decoder/DecoderProtocol.h"

#include <array>
#include <cstring>

namespace lumivert::decoder {
namespace {

std::size_t byteAt(std::span<const std::byte> bytes, std::size_t at) {
    return std::to_integer<std::size_t>(bytes[at]);
}

std::size_t wordAt(std::span<const std::byte> bytes, std::size_t at) {
    return byteAt(bytes, at) << 8 | byteAt(bytes, at + 1);
}

bool startsWith(std::span<const std::byte> bytes, const char* text, std::size_t length) {
    return bytes.size() >= length && std::memcmp(bytes.data(), text, length) == 0;
}

// JFIF 1.02: identifier 5, version 2, units 1, Xdensity 2, Ydensity 2.
std::optional<Density> jfifDensity(std::span<const std::byte> segment) {
    if (segment.size() < 12)
        return std::nullopt;
    const std::size_t units = byteAt(segment, 7);
    if (units != 1 && units != 2)
        return std::nullopt; // an aspect ratio only
    const double perInch = units == 2 ? 2.54 : 1;
    return usableDensity(static_cast<double>(wordAt(segment, 8)) * perInch,
                         static_cast<double>(wordAt(segment, 10)) * perInch);
}

bool isFrame(std::size_t marker) {
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

// From the end, where it usually stands; more may follow it, such as a second picture.
bool hasEndOfImage(std::span<const std::byte> bytes) {
    for (std::size_t at = bytes.size(); at >= 2; --at)
        if (bytes[at - 2] == std::byte{0xff} && bytes[at - 1] == std::byte{0xd9})
            return true;
    return false;
}

} // namespace

std::optional<Density> usableDensity(double x, double y) {
    using protocol::isUsable;
    if (!isUsable(x) && !isUsable(y))
        return std::nullopt;
    return Density{isUsable(x) ? x : y, isUsable(y) ? y : x};
}

std::optional<JpegMarkers> readJpegMarkers(std::span<const std::byte> bytes) {
    if (bytes.size() < 4 || wordAt(bytes, 0) != 0xffd8)
        return std::nullopt;
    JpegMarkers found;
    std::optional<std::size_t> frame;
    std::size_t precision = 0;
    std::array<std::size_t, 4> ids{};
    bool hasJfif = false;
    bool hasAdobe = false;
    std::optional<std::size_t> transform; // of Adobe's marker: 0 none, 1 YCbCr, 2 YCCK
    bool isContradictory = false;
    for (std::size_t at = 2; at + 4 <= bytes.size();) {
        if (byteAt(bytes, at) != 0xff)
            return std::nullopt;
        const std::size_t marker = byteAt(bytes, at + 1);
        if (marker == 0xff) { // fill byte
            ++at;
            continue;
        }
        if (marker == 0xda) {
            found.hasEnd = hasEndOfImage(bytes.subspan(at + 2));
            break;
        }
        const std::size_t length = wordAt(bytes, at + 2);
        if (length < 2 || at + 2 + length > bytes.size())
            return std::nullopt;
        const auto segment = bytes.subspan(at + 4, length - 2);
        if (marker == 0xe0 && startsWith(segment, "JFIF\0", 5)) {
            hasJfif = true;
            if (!found.jfifDensity)
                found.jfifDensity = jfifDensity(segment);
        } else if (marker == 0xee && segment.size() >= 12 && startsWith(segment, "Adobe", 5)) {
            hasAdobe = true;
            isContradictory = isContradictory || (transform && *transform != byteAt(segment, 11));
            transform = byteAt(segment, 11);
        } else if (isFrame(marker) && segment.size() >= 6 && !frame) {
            frame = marker;
            precision = byteAt(segment, 0);
            found.height = static_cast<int>(wordAt(segment, 1));
            found.width = static_cast<int>(wordAt(segment, 3));
            found.components = static_cast<int>(byteAt(segment, 5));
            for (std::size_t i = 0; i < ids.size() && 6 + 3 * i < segment.size(); ++i)
                ids[i] = byteAt(segment, 6 + 3 * i);
        }
        at += 2 + length;
    }
    if (!frame)
        return std::nullopt;
    const bool usualCoding = (*frame == 0xc0 || *frame == 0xc1 || *frame == 0xc2) && precision == 8;
    // Without a marker, component names 'R', 'G', 'B' mean RGB to some readers and YCbCr to others.
    const bool ambiguous = found.components == 3 && !hasJfif && !hasAdobe && ids[0] == 'R' &&
                           ids[1] == 'G' && ids[2] == 'B';
    // JFIF means YCbCr; some readers believe it and some Adobe's marker. A transform that the
    // number of components has not is taken for one thing here and for another there.
    const std::size_t meant = transform.value_or(found.components == 3 ? 1 : 0);
    const bool hasOneReading =
        !ambiguous && !isContradictory &&
        (found.components == 3 ? meant == 1 || (meant == 0 && !hasJfif)
                               : found.components == 1 || meant == 0 || meant == 2);
    const bool usualComponents =
        found.components == 1 || found.components == 3 || found.components == 4;
    found.embeddable =
        usualCoding && usualComponents && hasOneReading && found.width > 0 && found.height > 0;
    found.inverted = found.components == 4 && hasAdobe;
    return found;
}

} // namespace lumivert::decoder
