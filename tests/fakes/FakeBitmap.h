#pragma once

#include "platform/Image.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace lumivert {

/// Rows from memory. Breaks off before row `breakBefore`; hands out `atOnce` rows at most a call.
class FakeRowSource final : public RowSource {
public:
    FakeRowSource(RowFormat format, SharedBytes rows)
        : m_format(std::move(format))
        , m_rows(std::move(rows)) {}

    std::optional<int> breakBefore;
    std::size_t atOnce = 7;

    [[nodiscard]] const RowFormat& format() const override { return m_format; }

    [[nodiscard]] std::optional<std::size_t> readRows(std::span<std::byte> buffer) override {
        const std::size_t rowBytes = m_format.bytesPerRow();
        const auto height = static_cast<std::size_t>(m_format.size.height);
        std::size_t count = std::min({buffer.size() / rowBytes, height - m_next, atOnce});
        if (breakBefore) {
            count = std::min(count, static_cast<std::size_t>(*breakBefore) - m_next);
            if (count == 0)
                return std::nullopt;
        }
        if (count > 0)
            std::memcpy(buffer.data(), m_rows.view.data() + m_next * rowBytes, count * rowBytes);
        m_next += count;
        return count;
    }

private:
    RowFormat m_format;
    SharedBytes m_rows;
    std::size_t m_next = 0;
};

/// A bitmap that holds its pixels. What stands for a conversion: each 8-bit sample in the target is
/// 255 minus the most significant byte of the pixel's first sample.
class FakeBitmap final : public Bitmap {
public:
    FakeBitmap(RowFormat format, SharedBytes rows)
        : m_format(std::move(format))
        , m_rows(std::move(rows)) {}

    std::optional<JpegStream> jpeg;
    /// rows() returns null.
    bool cannotBeHad = false;
    std::optional<int> breakBefore;
    /// What rows() was asked for, in order.
    mutable std::vector<std::optional<ColorTarget>> asked;

    [[nodiscard]] PixelSize pixelSize() const override { return m_format.size; }

    [[nodiscard]] std::optional<JpegStream> jpegStream() const override { return jpeg; }

    [[nodiscard]] std::unique_ptr<RowSource>
    rows(const std::optional<ColorTarget>& target,
         const std::optional<PixelRect>& part = std::nullopt) const override {
        asked.push_back(target);
        if (cannotBeHad)
            return nullptr;
        if (part)
            return cut(*part).rows(target);
        auto source = target ? converted(target->space->channels)
                             : std::make_unique<FakeRowSource>(m_format, m_rows);
        source->breakBefore = breakBefore;
        return source;
    }

private:
    [[nodiscard]] FakeBitmap cut(PixelRect part) const {
        RowFormat format = m_format;
        format.size = {part.width, part.height};
        const std::size_t pixelBytes =
            m_format.bytesPerRow() / static_cast<std::size_t>(m_format.size.width);
        Bytes rows;
        for (int y = part.y; y < part.y + part.height; ++y) {
            const auto row =
                m_rows.view.subspan(static_cast<std::size_t>(y) * m_format.bytesPerRow() +
                                        static_cast<std::size_t>(part.x) * pixelBytes,
                                    format.bytesPerRow());
            rows.insert(rows.end(), row.begin(), row.end());
        }
        return {format, sharedBytes(std::move(rows))};
    }

    [[nodiscard]] std::unique_ptr<FakeRowSource> converted(int channels) const {
        const auto pixels = static_cast<std::size_t>(m_format.size.width) *
                            static_cast<std::size_t>(m_format.size.height);
        const std::size_t pixelBytes = m_rows.view.size() / pixels;
        Bytes rows;
        for (std::size_t i = 0; i < pixels; ++i)
            rows.insert(rows.end(), static_cast<std::size_t>(channels),
                        ~m_rows.view[i * pixelBytes]);
        return std::make_unique<FakeRowSource>(RowFormat{m_format.size, channels, 8, {}},
                                               sharedBytes(std::move(rows)));
    }

    RowFormat m_format;
    SharedBytes m_rows;
};

} // namespace lumivert
