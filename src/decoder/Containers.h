#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// Reading containers, whatever bytes they turn out to be: what lies beyond the end is not there.
namespace lumivert::decoder {

using ByteView = std::span<const std::byte>;

/// `size` bytes from `at`, or as many as there are.
[[nodiscard]] ByteView part(ByteView bytes, std::uint64_t at, std::uint64_t size = SIZE_MAX);

/// A number of at most 8 bytes; bytes beyond the end are 0.
[[nodiscard]] std::uint64_t bigEndian(ByteView bytes, std::uint64_t at, std::size_t size);
[[nodiscard]] std::uint64_t littleEndian(ByteView bytes, std::uint64_t at, std::size_t size);

[[nodiscard]] std::string_view asText(ByteView bytes);

/// A part of a file with a name of four letters.
struct Block {
    std::string_view name;
    ByteView content;
};

/// The chunks of a PNG (PNG, 5.3) before its first IDAT, or all, as long as they are whole.
[[nodiscard]] std::vector<Block> pngChunks(ByteView file, bool withPixels = false);

/// The boxes that `bytes` are a row of (ISO/IEC 14496-12, 4.2); the last one may be cut.
[[nodiscard]] std::vector<Block> isoBoxes(ByteView bytes);

/// Dots per inch along the stored axes.
struct Density {
    double x = 72;
    double y = 72;
};

/// The density when each axis is one that a photo can have; an axis that is not takes the other's.
[[nodiscard]] std::optional<Density> usableDensity(double x, double y);

} // namespace lumivert::decoder
