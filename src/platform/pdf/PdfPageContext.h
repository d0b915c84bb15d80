#pragma once

#include "platform/PdfContext.h"

#include <memory>
#include <string>

namespace lumivert {

/// Begins a document in a new file at `path`, written object by object, so that a page of any size
/// takes a few MiB of memory. Null where a file is there already or none can be. Any thread.
[[nodiscard]] std::unique_ptr<PdfContext> createPdfFile(const std::string& path);

} // namespace lumivert
