#include "platform/pdf/DeflateChunk.h"

#include <isa-l/igzip_lib.h>

#include <algorithm>

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

DeflatedPiece deflateChunk(std::span<const std::byte> rows, std::size_t bytesPerRow, bool last,
                           Bytes& predicted, Bytes& output) {
    const std::size_t length = (rows.size() / bytesPerRow - 1) * (bytesPerRow + 1);
    predicted.resize(length);
    predictUp(rows, bytesPerRow, predicted);

    Bytes workspace(ISAL_DEF_LVL1_DEFAULT);
    isal_zstream stream{};
    isal_deflate_init(&stream);
    // Level 1 makes codes of its own for each block. With level 0 and the codes of
    // isal_create_hufftables(), cropped smooth photos came out of Poppler as noise.
    stream.level = 1;
    stream.level_buf = isalBytes(workspace.data());
    stream.level_buf_size = static_cast<std::uint32_t>(workspace.size());
    stream.gzip_flag = IGZIP_DEFLATE;
    stream.flush = FULL_FLUSH;
    stream.end_of_stream = last ? 1 : 0;
    stream.next_in = isalBytes(predicted.data());
    stream.avail_in = static_cast<std::uint32_t>(length);
    std::size_t size = 0;
    do {
        if (output.size() - size < length / 2 + 1024)
            output.resize(output.size() + length + 1024);
        const std::size_t room = output.size() - size;
        stream.next_out = isalBytes(output.data() + size);
        stream.avail_out = static_cast<std::uint32_t>(room);
        isal_deflate(&stream);
        size += room - stream.avail_out;
        // Room left over means that nothing waits inside to be written.
    } while (stream.avail_out == 0 || stream.avail_in > 0);
    return {size, isal_adler32(1, isalBytes(predicted.data()), length), length};
}

} // namespace lumivert
