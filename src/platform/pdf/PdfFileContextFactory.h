#pragma once

#include "platform/PdfContext.h"

namespace lumivert {

/// Writes PDF files itself, object by object, so that a page of any size takes a few MiB of memory.
class PdfFileContextFactory final : public PdfContextFactory {
public:
    /// The path must not exist yet.
    [[nodiscard]] std::unique_ptr<PdfContext> create(const std::string& path) override;
};

} // namespace lumivert
