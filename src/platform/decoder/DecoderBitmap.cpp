#include "platform/decoder/DecoderBitmap.h"

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

class DecoderBitmap : public Bitmap {
public:
    DecoderBitmap(std::shared_ptr<DecoderService> service,
                  std::shared_ptr<const DecodedPhoto> photo, PixelRect part)
        : m_service(std::move(service))
        , m_photo(std::move(photo))
        , m_part(part) {}

    [[nodiscard]] PixelSize size() const override { return {m_part.width, m_part.height}; }

    [[nodiscard]] std::shared_ptr<const Bitmap> cropped(PixelRect rect) const override {
        const auto cut = [](std::int64_t from, std::int64_t length, std::int64_t limit) {
            const std::int64_t low = std::clamp<std::int64_t>(from, 0, limit);
            const std::int64_t high = std::clamp<std::int64_t>(from + length, low, limit);
            return std::pair(static_cast<int>(low), static_cast<int>(high - low));
        };
        const auto [x, width] = cut(rect.x, rect.width, m_part.width);
        const auto [y, height] = cut(rect.y, rect.height, m_part.height);
        if (width <= 0 || height <= 0)
            return nullptr;
        return std::make_shared<DecoderBitmap>(
            m_service, m_photo, PixelRect{m_part.x + x, m_part.y + y, width, height});
    }

    [[nodiscard]] std::optional<JpegStream> jpegStream() const override {
        if (!m_photo->jpeg || size() != m_photo->size)
            return std::nullopt;
        auto bytes = mapSealed(m_photo->bytes.get());
        constexpr std::array start{std::byte{0xff}, std::byte{0xd8}, std::byte{0xff}};
        if (!bytes || bytes->view.size() < start.size() ||
            !std::ranges::equal(bytes->view.first(start.size()), start))
            return std::nullopt;
        JpegStream stream = *m_photo->jpeg;
        stream.bytes = std::move(*bytes);
        return stream;
    }

    [[nodiscard]] std::unique_ptr<RowSource>
    rows(const std::optional<ColorTarget>& target) const override {
        if (target && !target->space)
            return nullptr;
        RowFormat expected{size(), m_photo->channels, m_photo->bitsPerComponent, m_photo->profile};
        if (target)
            expected = {size(), target->space->channels, 8, {}};

        std::array<int, 2> ends{-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            return nullptr;
        Descriptor readEnd(ends[0]);
        Descriptor writeEnd(ends[1]);
        // Where the system does not allow so much, the pipe is merely slower.
        ::fcntl(readEnd.get(), F_SETPIPE_SZ, protocol::pipeBytes);

        protocol::Request request;
        request.kind = protocol::Kind::rows;
        request.x = m_part.x;
        request.y = m_part.y;
        request.width = m_part.width;
        request.height = m_part.height;
        request.rawWhite = m_photo->rawWhite;
        std::vector<int> descriptors{m_photo->bytes.get(), writeEnd.get()};
        std::optional<Descriptor> profile;
        if (target) {
            profile = sealedCopyOf(target->space->profile.view);
            if (!profile)
                return nullptr;
            request.hasTarget = 1;
            request.intent = iccIntent(target->intent);
            descriptors.push_back(profile->get());
        }

        auto process = m_service->take();
        if (!process)
            return nullptr;
        const auto reply = process->ask(request, descriptors, m_service->options().answerTimeout);
        if (!reply || reply->answer.width != expected.size.width ||
            reply->answer.height != expected.size.height ||
            reply->answer.channels != static_cast<std::uint32_t>(expected.channels) ||
            reply->answer.bitsPerComponent != static_cast<std::uint32_t>(expected.bitsPerComponent))
            return nullptr;
        // Only the decoder holds the other end now: when it ends, so does the pipe.
        writeEnd.reset();
        return std::make_unique<DecoderRows>(m_service, std::move(process), std::move(readEnd),
                                             std::move(expected));
    }

private:
    std::shared_ptr<DecoderService> m_service;
    std::shared_ptr<const DecodedPhoto> m_photo;
    PixelRect m_part;
};

} // namespace

std::uint32_t iccIntent(RenderingIntent intent) {
    using enum RenderingIntent;
    constexpr std::array inOrder{perceptual, relative, saturation, absolute};
    return static_cast<std::uint32_t>(std::ranges::find(inOrder, intent) - inOrder.begin());
}

std::shared_ptr<const Bitmap> decoderBitmap(std::shared_ptr<DecoderService> service,
                                            std::shared_ptr<const DecodedPhoto> photo,
                                            PixelRect part) {
    return std::make_shared<DecoderBitmap>(std::move(service), std::move(photo), part);
}

} // namespace lumivert
