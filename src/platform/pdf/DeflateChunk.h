#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace lumivert {

/// Each row of `rows` minus the row above it, byte by byte, behind the filter type "up" (PNG, 9.2).
/// `rows` begins with the row above the first one; `output` holds one row less, and a byte more for
/// each.
void predictUp(std::span<const std::byte> rows, std::size_t bytesPerRow,
               std::span<std::byte> output);

/// The checksum of two stretches of bytes, one after the other, from theirs (RFC 1950, 8.2).
[[nodiscard]] std::uint32_t combineAdler32(std::uint32_t first, std::uint32_t second,
                                           std::uint64_t secondLength);

/// A piece of a deflate stream (RFC 1951) in the front of its buffer.
struct DeflatedPiece {
    std::size_t size = 0;
    /// Of the bytes that were compressed, and how many these were.
    std::uint32_t adler32 = 1;
    std::uint64_t length = 0;
};

/// Predicts and compresses `rows`, which begins with the row above the first one, into the front of
/// `output`, which grows where it is too small; `predicted` is room to work in. Pieces may be made
/// beside each other and then stand one behind the other; the `last` one ends the stream.
[[nodiscard]] DeflatedPiece deflateChunk(std::span<const std::byte> rows, std::size_t bytesPerRow,
                                         bool last, Bytes& predicted, Bytes& output);

} // namespace lumivert
