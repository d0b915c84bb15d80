#include "platform/decoder/DecoderRows.h"

#include "model/Models.h"
#include "platform/system/SealedMemory.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace lumivert {
namespace {

using std::chrono::steady_clock;

/// Rows out of a decoder's pipe. The decoder ends with the last row or with this object.
class DecoderRows : public RowSource {
public:
    DecoderRows(std::shared_ptr<DecoderService> service, std::unique_ptr<DecoderProcess> process,
                Descriptor pipe, RowFormat format)
        : m_service(std::move(service))
        , m_process(std::move(process))
        , m_pipe(std::move(pipe))
        , m_format(std::move(format))
        , m_rowsLeft(static_cast<std::size_t>(m_format.size.height)) {}

    ~DecoderRows() override {
        m_process.reset();
        m_service->prepareSpare();
    }

    [[nodiscard]] const RowFormat& format() const override { return m_format; }

    [[nodiscard]] std::optional<std::size_t> readRows(std::span<std::byte> buffer) override {
        if (m_brokenOff)
            return std::nullopt;
        const std::size_t bytesPerRow = m_format.bytesPerRow();
        const std::size_t rows = std::min(buffer.size() / bytesPerRow, m_rowsLeft);
        m_brokenOff = !fill(buffer.first(rows * bytesPerRow));
        m_rowsLeft -= rows;
        if (m_brokenOff || m_rowsLeft == 0)
            m_process.reset();
        return m_brokenOff ? std::nullopt : std::optional(rows);
    }

private:
    bool fill(std::span<std::byte> buffer) {
        const auto timeout = m_service->options().rowTimeout;
        const std::size_t bytesPerRow = m_format.bytesPerRow();
        auto rowEnd = steady_clock::now() + timeout;
        // What is still missing of the row that is being read.
        std::size_t missing = bytesPerRow;
        while (!buffer.empty()) {
            if (!waitReadable(m_pipe.get(), std::min(rowEnd, m_end)))
                return false;
            const ssize_t count = retryingInterrupts(
                [&] { return ::read(m_pipe.get(), buffer.data(), buffer.size()); });
            if (count <= 0)
                return false;
            const auto taken = static_cast<std::size_t>(count);
            buffer = buffer.subspan(taken);
            if (taken < missing) {
                missing -= taken;
            } else {
                missing = bytesPerRow - (taken - missing) % bytesPerRow;
                rowEnd = steady_clock::now() + timeout;
            }
        }
        return true;
    }

    std::shared_ptr<DecoderService> m_service;
    std::unique_ptr<DecoderProcess> m_process;
    Descriptor m_pipe;
    RowFormat m_format;
    std::size_t m_rowsLeft;
    const steady_clock::time_point m_end = steady_clock::now() + m_service->options().pageTimeout;
    bool m_brokenOff = false;
};

} // namespace

std::uint32_t iccIntent(RenderingIntent intent) {
    using enum RenderingIntent;
    constexpr std::array inOrder{perceptual, relative, saturation, absolute};
    return static_cast<std::uint32_t>(std::ranges::find(inOrder, intent) - inOrder.begin());
}

std::unique_ptr<RowSource> decodedRows(std::shared_ptr<DecoderService> service,
                                       const DecodedPhoto& photo,
                                       const std::optional<ColorTarget>& target,
                                       const std::optional<PixelRect>& part) {
    if (target && !target->space)
        return nullptr;
    RowFormat expected = photo.format;
    if (target)
        expected = {expected.size, target->space->channels, 8, {}};
    if (part)
        expected.size = {part->width, part->height};

    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return nullptr;
    Descriptor readEnd(ends[0]);
    Descriptor writeEnd(ends[1]);
    // Where the system does not allow so much, the pipe is merely slower.
    ::fcntl(readEnd.get(), F_SETPIPE_SZ, protocol::pipeBytes);

    protocol::Request request;
    request.kind = protocol::Kind::rows;
    request.x = part ? part->x : 0;
    request.y = part ? part->y : 0;
    request.width = expected.size.width;
    request.height = expected.size.height;
    request.rawWhite = photo.rawWhite;
    std::vector<int> descriptors{photo.bytes.get(), writeEnd.get()};
    std::optional<Descriptor> profile;
    if (target) {
        profile = sealedCopyOf(target->space->profile.view);
        if (!profile)
            return nullptr;
        request.hasTarget = 1;
        request.intent = iccIntent(target->intent);
        descriptors.push_back(profile->get());
    }

    auto process = service->take();
    if (!process)
        return nullptr;
    const auto reply = process->ask(request, descriptors, service->options().answerTimeout);
    if (!reply || PixelSize{reply->answer.width, reply->answer.height} != expected.size ||
        reply->answer.channels != static_cast<std::uint32_t>(expected.channels) ||
        reply->answer.bitsPerComponent != static_cast<std::uint32_t>(expected.bitsPerComponent))
        return nullptr;
    // Only the decoder holds the other end now: when it ends, so does the pipe.
    writeEnd.reset();
    return std::make_unique<DecoderRows>(std::move(service), std::move(process), std::move(readEnd),
                                         std::move(expected));
}

} // namespace lumivert
