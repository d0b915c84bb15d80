#pragma once

#include "platform/Bytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace lumivert {

/// Huffman codes for the bytes of one deflate block without matches (RFC 1951, 3.2.7): what is
/// left to gain in the predicted rows of a photo with grain, at a third of the time that a search
/// for matches takes.
class LiteralCoder {
public:
    /// Codes made from a sample of `bytes`; nothing when the codes would be so short on average
    /// that a search for matches pays (plain areas, graphics), or when there are too few bytes.
    [[nodiscard]] static std::optional<LiteralCoder> forBytes(std::span<const std::byte> bytes);

    /// Writes `bytes` as one block to the front of `output`, which grows where it is too small, and
    /// returns how much of it that took. The `last` block ends the stream; behind any other stands
    /// an empty stored block, so that the next one begins with a byte.
    [[nodiscard]] std::size_t encode(std::span<const std::byte> bytes, bool last,
                                     Bytes& output) const;

private:
    LiteralCoder() = default;

    struct Code {
        std::uint16_t bits = 0;
        std::uint8_t length = 0;
    };
    std::array<Code, 256> m_literals{};
    Code m_endOfBlock;
    Bytes m_header; // the codes' description, its last byte in part
    unsigned m_headerBits = 0;
};

} // namespace lumivert
