#include "platform/pdf/RowDeflater.h"

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <future>
#include <optional>
#include <vector>

namespace lumivert {
namespace {

constexpr std::byte filterUp{2};

unsigned char* isalBytes(std::byte* bytes) {
    return reinterpret_cast<unsigned char*>(bytes);
}

// Predicts `rows`, which begins with the row above the first one, into `predicted`, and compresses
// that to a piece of a deflate stream (RFC 1951) in the front of `output`, which grows where it is
// too small. Pieces may be made beside each other and then stand one behind the other; the `last`
// one ends the stream. The size of the piece.
std::size_t deflateChunk(std::span<const std::byte> rows, std::size_t bytesPerRow, bool last,
                         Bytes& predicted, Bytes& output) {
    const std::size_t length = (rows.size() / bytesPerRow - 1) * (bytesPerRow + 1);
    predicted.resize(length);
    predictUp(rows, bytesPerRow, predicted);

    Bytes workspace(ISAL_DEF_LVL1_DEFAULT);
    isal_zstream stream{};
    isal_deflate_init(&stream);
    // Its codes are made from the block that they are for, where the end of the block is among the
    // rarest symbols and so has about the longest code. Poppler reads as many bits ahead as the
    // longest has, and drops them at the flush behind the block: it loses bytes when the end's code
    // is shorter by more than three bits.
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
    return size;
}

struct Chunk {
    Bytes rows; // the row above the first one, then rowCount rows
    std::size_t rowCount = 0;
    Bytes predicted;
    Bytes output;
    std::future<std::size_t> piece; // last: its task, which it waits for, uses the others
};

// Whether all of `buffer` could be filled.
bool readWhole(RowSource& source, std::span<std::byte> buffer, std::size_t bytesPerRow) {
    while (!buffer.empty()) {
        const std::optional<std::size_t> count = source.readRows(buffer);
        if (!count || *count == 0 || *count > buffer.size() / bytesPerRow)
            return false;
        buffer = buffer.subspan(*count * bytesPerRow);
    }
    return true;
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

bool deflateRows(RowSource& source, const std::function<bool(std::span<const std::byte>)>& sink,
                 DeflateShape shape) {
    const RowFormat& format = source.format();
    const std::size_t bytesPerRow = format.bytesPerRow();
    const auto height = static_cast<std::size_t>(format.size.height);
    const std::size_t rowsPerChunk =
        std::clamp<std::size_t>(shape.chunkBytes / bytesPerRow, 1, height);
    const std::size_t chunkCount = (height + rowsPerChunk - 1) / rowsPerChunk;

    std::vector<Chunk> ring(static_cast<std::size_t>(shape.workers) + 2);
    for (Chunk& chunk : ring)
        chunk.rows.resize((rowsPerChunk + 1) * bytesPerRow);
    // Where no thread is to be had the library puts the task off until it is waited for.
    const auto policy =
        shape.workers > 0 ? std::launch::async | std::launch::deferred : std::launch::deferred;

    // The window of 32 KiB and the fastest level (RFC 1950, 2.2).
    constexpr std::array header{std::byte{0x78}, std::byte{0x01}};
    if (!sink(header))
        return false;
    std::uint32_t adler = 1;
    const Chunk* previous = nullptr;
    // Past the last chunk the ring is only emptied.
    for (std::size_t index = 0; index < chunkCount + ring.size(); ++index) {
        Chunk& chunk = ring[index % ring.size()];
        if (chunk.piece.valid()) {
            const std::size_t size = chunk.piece.get();
            adler = isal_adler32(adler, isalBytes(chunk.predicted.data()), chunk.predicted.size());
            if (!sink(std::span(chunk.output).first(size)))
                return false;
        }
        if (index >= chunkCount)
            continue;
        chunk.rowCount = std::min(rowsPerChunk, height - index * rowsPerChunk);
        // The first row's predecessor counts as zero (PNG, 9.2): the fresh buffer is.
        if (previous)
            std::memcpy(chunk.rows.data(), previous->rows.data() + previous->rowCount * bytesPerRow,
                        bytesPerRow);
        const auto rows = std::span(chunk.rows).subspan(bytesPerRow, chunk.rowCount * bytesPerRow);
        if (!readWhole(source, rows, bytesPerRow))
            return false;
        chunk.piece = std::async(policy, [&chunk, bytesPerRow, last = index + 1 == chunkCount] {
            const auto whole = std::span(chunk.rows).first((chunk.rowCount + 1) * bytesPerRow);
            return deflateChunk(whole, bytesPerRow, last, chunk.predicted, chunk.output);
        });
        previous = &chunk;
    }
    const std::array trailer{std::byte(adler >> 24), std::byte(adler >> 16), std::byte(adler >> 8),
                             std::byte(adler)};
    return sink(trailer);
}

} // namespace lumivert
