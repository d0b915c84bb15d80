#pragma once

#include "platform/Bitmap.h"
#include "platform/decoder/DecoderService.h"
#include "platform/system/Descriptor.h"

namespace lumivert {

/// Rows out of a decoder's pipe. The decoder ends with the last row or with this object.
class DecoderRows : public RowSource {
public:
    DecoderRows(std::shared_ptr<DecoderService> service, std::unique_ptr<DecoderProcess> process,
                Descriptor pipe, RowFormat format);
    ~DecoderRows() override;

    [[nodiscard]] const RowFormat& format() const override { return m_format; }
    [[nodiscard]] std::optional<std::size_t> readRows(std::span<std::byte> buffer) override;

private:
    bool fill(std::span<std::byte> buffer);

    std::shared_ptr<DecoderService> m_service;
    std::unique_ptr<DecoderProcess> m_process;
    Descriptor m_pipe;
    RowFormat m_format;
    std::size_t m_rowsLeft;
    bool m_brokenOff = false;
};

} // namespace lumivert
