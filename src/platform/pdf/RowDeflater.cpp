#include "platform/pdf/RowDeflater.h"

#include "platform/pdf/DeflateChunk.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace lumivert {
namespace {

struct Chunk {
    Bytes rows; // the row above the first one, then rowCount rows
    std::size_t rowCount = 0;
    bool last = false;
    Bytes output;
    ChunkDeflater::Piece piece;
    bool done = false;
};

// Threads that compress chunks beside each other; without any, the calling thread does.
class Workers {
public:
    Workers(int count, std::size_t bytesPerRow)
        : m_bytesPerRow(bytesPerRow) {
        try {
            for (int i = 0; i < count; ++i)
                m_threads.emplace_back([this] { run(); });
        } catch (const std::system_error&) {
            // No more threads to be had: those that stand, or the calling one, do the work.
        }
    }
    ~Workers() {
        {
            const std::lock_guard lock(m_mutex);
            m_ended = true;
        }
        m_changed.notify_all();
        for (std::thread& thread : m_threads)
            thread.join();
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    void start(Chunk& chunk) {
        if (m_threads.empty()) {
            compress(chunk, m_own);
            return;
        }
        {
            const std::lock_guard lock(m_mutex);
            chunk.done = false;
            m_waiting.push_back(&chunk);
        }
        m_changed.notify_all();
    }

    void waitFor(const Chunk& chunk) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return chunk.done; });
    }

private:
    void run() {
        ChunkDeflater deflater;
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, [this] { return m_ended || !m_waiting.empty(); });
            if (m_ended)
                return;
            Chunk& chunk = *m_waiting.front();
            m_waiting.pop_front();
            lock.unlock();
            compress(chunk, deflater);
            lock.lock();
            m_changed.notify_all();
        }
    }

    void compress(Chunk& chunk, ChunkDeflater& deflater) {
        const auto rows = std::span(chunk.rows).first((chunk.rowCount + 1) * m_bytesPerRow);
        chunk.piece = deflater.deflate(rows, m_bytesPerRow, chunk.last, chunk.output);
        const std::lock_guard lock(m_mutex);
        chunk.done = true;
    }

    const std::size_t m_bytesPerRow;
    ChunkDeflater m_own;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Chunk*> m_waiting;
    bool m_ended = false;
    std::vector<std::thread> m_threads; // last: they use the members above
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
    Workers workers(shape.workers, bytesPerRow); // ends before the chunks do

    // The window of 32 KiB and the fastest level (RFC 1950, 2.2).
    constexpr std::array header{std::byte{0x78}, std::byte{0x01}};
    if (!sink(header))
        return false;
    std::uint32_t adler = 1;
    const auto write = [&](Chunk& chunk) {
        workers.waitFor(chunk);
        adler = combineAdler32(adler, chunk.piece.adler32, chunk.piece.length);
        return sink(std::span(chunk.output).first(chunk.piece.size));
    };
    std::size_t written = 0;
    const Chunk* previous = nullptr;
    for (std::size_t index = 0; index < chunkCount; ++index) {
        if (index - written == ring.size() && !write(ring[written++ % ring.size()]))
            return false;
        Chunk& chunk = ring[index % ring.size()];
        chunk.rowCount = std::min(rowsPerChunk, height - index * rowsPerChunk);
        chunk.last = index + 1 == chunkCount;
        // The first row's predecessor counts as zero (PNG, 9.2): the fresh buffer is.
        if (previous)
            std::memcpy(chunk.rows.data(), previous->rows.data() + previous->rowCount * bytesPerRow,
                        bytesPerRow);
        const auto rows = std::span(chunk.rows).subspan(bytesPerRow, chunk.rowCount * bytesPerRow);
        if (!readWhole(source, rows, bytesPerRow))
            return false;
        workers.start(chunk);
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
