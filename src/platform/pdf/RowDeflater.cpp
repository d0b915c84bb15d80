#include "platform/pdf/RowDeflater.h"

#include "platform/pdf/DeflateChunk.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <future>
#include <optional>
#include <thread>
#include <vector>

namespace lumivert {
namespace {

struct Chunk {
    Bytes rows; // the row above the first one, then rowCount rows
    std::size_t rowCount = 0;
    Bytes predicted;
    Bytes output;
    std::future<DeflatedPiece> piece; // last: its task, which it waits for, uses the others
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

DeflateShape deflateShapeForThisMachine() {
    // Measured: 128 MB take 0.3 s of one worker, less than their decoding takes; a third thread
    // only waits.
    return {.workers = std::thread::hardware_concurrency() > 2 ? 2 : 1};
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
    const auto write = [&](Chunk& chunk) {
        const DeflatedPiece piece = chunk.piece.get();
        adler = combineAdler32(adler, piece.adler32, piece.length);
        return sink(std::span(chunk.output).first(piece.size));
    };
    std::size_t written = 0;
    const Chunk* previous = nullptr;
    for (std::size_t index = 0; index < chunkCount; ++index) {
        if (index - written == ring.size() && !write(ring[written++ % ring.size()]))
            return false;
        Chunk& chunk = ring[index % ring.size()];
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
    while (written < chunkCount)
        if (!write(ring[written++ % ring.size()]))
            return false;
    const std::array trailer{std::byte(adler >> 24), std::byte(adler >> 16), std::byte(adler >> 8),
                             std::byte(adler)};
    return sink(trailer);
}

} // namespace lumivert
