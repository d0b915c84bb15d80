#include "platform/decoder/DecoderRows.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <poll.h>
#include <utility>

namespace lumivert {

DecoderRows::DecoderRows(std::shared_ptr<DecoderService> service,
                         std::unique_ptr<DecoderProcess> process, Descriptor pipe, RowFormat format)
    : m_service(std::move(service))
    , m_process(std::move(process))
    , m_pipe(std::move(pipe))
    , m_format(std::move(format))
    , m_rowsLeft(static_cast<std::size_t>(m_format.size.height)) {}

DecoderRows::~DecoderRows() {
    m_process.reset();
    m_service->pool().prepareSpare();
}

std::optional<std::size_t> DecoderRows::readRows(std::span<std::byte> buffer) {
    if (m_brokenOff)
        return std::nullopt;
    const std::size_t bytesPerRow = m_format.bytesPerRow();
    const std::size_t rows = std::min(buffer.size() / bytesPerRow, m_rowsLeft);
    if (!fill(buffer.first(rows * bytesPerRow))) {
        m_brokenOff = true;
        m_process.reset();
        return std::nullopt;
    }
    m_rowsLeft -= rows;
    if (m_rowsLeft == 0)
        m_process.reset();
    return rows;
}

bool DecoderRows::fill(std::span<std::byte> buffer) {
    using std::chrono::steady_clock;
    const auto timeout = m_service->options().rowTimeout;
    const std::size_t bytesPerRow = m_format.bytesPerRow();
    auto end = steady_clock::now() + timeout;
    // What is still missing of the row that is being read.
    std::size_t missing = bytesPerRow;
    while (!buffer.empty()) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now()).count();
        pollfd entry{m_pipe.get(), POLLIN, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return false;
        const ssize_t count = ::read(m_pipe.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        const auto taken = static_cast<std::size_t>(count);
        buffer = buffer.subspan(taken);
        if (taken < missing) {
            missing -= taken;
        } else {
            missing = bytesPerRow - (taken - missing) % bytesPerRow;
            end = steady_clock::now() + timeout;
        }
    }
    return true;
}

} // namespace lumivert
