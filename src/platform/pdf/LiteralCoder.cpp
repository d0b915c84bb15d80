#include "platform/pdf/LiteralCoder.h"

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace lumivert {
namespace {

static_assert(std::endian::native == std::endian::little, "BitWriter stores whole words");

constexpr std::size_t fewestBytes = 16384;

// Measured on a photo with grain added in steps: from here up ISA-L's level 1 takes two to four
// times as long and its output is no smaller.
constexpr double shortestAverage = 3.6;

// Every fourth stretch of 64 bytes: codes from it are within 0.1 % of the best.
constexpr std::size_t sampleStretch = 64;
constexpr std::size_t sampleStep = 4 * sampleStretch;

// Bits from the least significant one on (RFC 1951, 3.1.1). Up to 57 bits between two stores; a
// store writes eight bytes.
class BitWriter {
public:
    explicit BitWriter(std::byte* to)
        : m_to(to) {}

    void put(std::uint64_t bits, unsigned count) {
        m_bits |= bits << m_count;
        m_count += count;
    }
    void store() {
        std::memcpy(m_to, &m_bits, sizeof m_bits);
        m_to += m_count >> 3;
        m_bits >>= m_count & ~7U;
        m_count &= 7U;
    }
    void fillByte() { m_count = (m_count + 7U) & ~7U; }
    [[nodiscard]] std::byte* end() const { return m_to; }

private:
    std::byte* m_to;
    std::uint64_t m_bits = 0;
    unsigned m_count = 0;
};

} // namespace

std::optional<LiteralCoder> LiteralCoder::forBytes(std::span<const std::byte> bytes) {
    if (bytes.size() < fewestBytes)
        return std::nullopt;
    // Four tables, so that equal bytes side by side do not wait for each other's counts.
    std::array<std::array<std::uint32_t, 256>, 4> counts{};
    for (std::size_t start = 0; start + sampleStretch <= bytes.size(); start += sampleStep)
        for (std::size_t i = start; i < start + sampleStretch; i += 4)
            for (std::size_t lane = 0; lane < 4; ++lane)
                ++counts[lane][std::to_integer<std::size_t>(bytes[i + lane])];
    isal_huff_histogram histogram{};
    std::uint64_t total = 0;
    for (std::size_t value = 0; value < 256; ++value) {
        const std::uint64_t count =
            counts[0][value] + counts[1][value] + counts[2][value] + counts[3][value];
        histogram.lit_len_histogram[value] = count;
        total += count;
    }
    histogram.lit_len_histogram[256] = 1;
    isal_hufftables tables{};
    if (isal_create_hufftables(&tables, &histogram) != 0)
        return std::nullopt;

    LiteralCoder coder;
    std::uint64_t bits = 0;
    for (std::size_t value = 0; value < 256; ++value) {
        coder.m_literals[value] = {tables.lit_table[value], tables.lit_table_sizes[value]};
        bits += histogram.lit_len_histogram[value] * tables.lit_table_sizes[value];
    }
    if (static_cast<double>(bits) < shortestAverage * static_cast<double>(total))
        return std::nullopt;
    coder.m_endOfBlock = {tables.lit_table[256], tables.lit_table_sizes[256]};
    coder.m_header.resize(tables.deflate_hdr_count + 1);
    std::memcpy(coder.m_header.data(), tables.deflate_hdr, coder.m_header.size());
    coder.m_headerBits = tables.deflate_hdr_extra_bits;
    return coder;
}

std::size_t LiteralCoder::encode(std::span<const std::byte> bytes, bool last, Bytes& output) const {
    // No code is longer than 15 bits; a store may write eight bytes beyond.
    const std::size_t most = m_header.size() + 2 * bytes.size() + 32;
    if (output.size() < most)
        output.resize(most);
    const std::size_t wholeBytes = m_header.size() - 1;
    std::memcpy(output.data(), m_header.data(), wholeBytes);
    // The header's first bit says whether the block is the last one.
    output[0] = (output[0] & ~std::byte{1}) | std::byte{last};
    BitWriter writer(output.data() + wholeBytes);
    writer.put(std::to_integer<unsigned>(m_header.back()) & ((1U << m_headerBits) - 1U),
               m_headerBits);
    writer.store();
    const auto put = [&](std::byte byte) {
        const Code code = m_literals[std::to_integer<std::size_t>(byte)];
        writer.put(code.bits, code.length);
    };
    // Three codes and what the last store left fit into a word.
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        put(bytes[i]);
        put(bytes[i + 1]);
        put(bytes[i + 2]);
        writer.store();
    }
    for (; i < bytes.size(); ++i)
        put(bytes[i]);
    writer.put(m_endOfBlock.bits, m_endOfBlock.length);
    writer.store();
    if (!last)
        writer.put(0, 3); // a stored block, not the last one
    writer.fillByte();
    writer.store();
    if (!last) {
        writer.put(0xffff0000U, 32); // its length 0, and that inverted
        writer.store();
    }
    return static_cast<std::size_t>(writer.end() - output.data());
}

} // namespace lumivert
