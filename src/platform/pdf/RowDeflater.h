#pragma once

#include "platform/Image.h"

#include <cstddef>
#include <functional>
#include <span>
#include <thread>

namespace lumivert {

/// How the work is divided.
struct DeflateShape {
    /// Rows are compressed in chunks of about this many bytes, one row at least.
    std::size_t chunkBytes = std::size_t{1} << 20;
    /// Chunks that are compressed beside each other while the calling thread reads and writes; 0
    /// compresses on the calling thread, as does a system that gives no more threads. Measured:
    /// 128 MB take 0.3 s of one worker, less than their decoding; a third thread only waits.
    int workers = std::thread::hardware_concurrency() > 2 ? 2 : 1;
};

/// Reads all rows of `source` and hands them to `sink` as one zlib stream (RFC 1950) of rows behind
/// the PNG "up" predictor, which PDF calls predictor 15. `source` and `sink` are called on the
/// calling thread, the pieces come in order and are valid for the call. Memory: two chunks and a
/// few more for each worker.
/// False when the rows broke off or `sink` returned false, which ends the work. Throws
/// std::bad_alloc.
[[nodiscard]] bool deflateRows(RowSource& source,
                               const std::function<bool(std::span<const std::byte>)>& sink,
                               DeflateShape shape = {});

/// Each row of `rows` minus the row above it, byte by byte, behind the filter type "up" (PNG, 9.2).
/// `rows` begins with the row above the first one; `output` holds one row less, and a byte more for
/// each.
void predictUp(std::span<const std::byte> rows, std::size_t bytesPerRow,
               std::span<std::byte> output);

} // namespace lumivert
