#include "platform/pdf/DeflateChunk.h"

#include "platform/pdf/LiteralCoder.h"

#include <isa-l/igzip_lib.h>

namespace lumivert {
namespace {

constexpr std::byte filterUp{2};

unsigned char* isalBytes(std::byte* bytes) {
    return reinterpret_cast<unsigned char*>(bytes);
}

} // namespace

void predictUp(std::span<const std::byte> rows, std::size_t bytesPerRow,
               std::span<std::byte> output) {
    const auto* above = reinterpret_cast<const unsigned char*>(rows.data());
    auto* to = isalBytes(output.data());
    const std::size_t count = rows.size() / bytesPerRow;
    for (std::size_t row = 1; row < count; ++row) {
        const unsigned char* __restrict current = above + bytesPerRow;
        *to++ = static_cast<unsigned char>(filterUp);
        unsigned char* __restrict difference = to;
        const unsigned char* __restrict previous = above;
        for (std::size_t i = 0; i < bytesPerRow; ++i)
            difference[i] = static_cast<unsigned char>(current[i] - previous[i]);
        to += bytesPerRow;
        above = current;
    }
}

std::uint32_t combineAdler32(std::uint32_t first, std::uint32_t second,
                             std::uint64_t secondLength) {
    constexpr std::uint64_t base = 65521;
    const std::uint64_t firstSum = first & 0xffff;
    const std::uint64_t sum = (firstSum + (second & 0xffff) + base - 1) % base;
    const std::uint64_t sumOfSums =
        ((first >> 16) + (second >> 16) + secondLength % base * ((firstSum + base - 1) % base)) %
        base;
    return static_cast<std::uint32_t>(sumOfSums << 16 | sum);
}

ChunkDeflater::ChunkDeflater()
    : m_levelBuffer(ISAL_DEF_LVL1_DEFAULT) {}

ChunkDeflater::Piece ChunkDeflater::deflate(std::span<const std::byte> rows,
                                            std::size_t bytesPerRow, bool last, Bytes& output) {
    const std::size_t length = (rows.size() / bytesPerRow - 1) * (bytesPerRow + 1);
    if (m_predicted.size() < length)
        m_predicted.resize(length);
    const auto predicted = std::span(m_predicted).first(length);
    predictUp(rows, bytesPerRow, predicted);
    const auto coder = LiteralCoder::forBytes(predicted);
    const std::size_t size = coder ? coder->encode(predicted, last, output)
                                   : deflateWithMatches(predicted, last, output);
    return {size, isal_adler32(1, isalBytes(m_predicted.data()), length), length};
}

std::size_t ChunkDeflater::deflateWithMatches(std::span<std::byte> bytes, bool last,
                                              Bytes& output) {
    isal_zstream stream{};
    isal_deflate_init(&stream);
    stream.level = 1;
    stream.level_buf = isalBytes(m_levelBuffer.data());
    stream.level_buf_size = static_cast<std::uint32_t>(m_levelBuffer.size());
    stream.gzip_flag = IGZIP_DEFLATE;
    stream.flush = FULL_FLUSH;
    stream.end_of_stream = last ? 1 : 0;
    stream.next_in = isalBytes(bytes.data());
    stream.avail_in = static_cast<std::uint32_t>(bytes.size());
    std::size_t size = 0;
    do {
        if (output.size() - size < bytes.size() / 2 + 1024)
            output.resize(output.size() + bytes.size() + 1024);
        const std::size_t room = output.size() - size;
        stream.next_out = isalBytes(output.data() + size);
        stream.avail_out = static_cast<std::uint32_t>(room);
        isal_deflate(&stream);
        size += room - stream.avail_out;
        // Room left over means that nothing waits inside to be written.
    } while (stream.avail_out == 0 || stream.avail_in > 0);
    return size;
}

} // namespace lumivert
