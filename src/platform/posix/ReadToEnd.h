#pragma once

#include <string>

namespace lumivert {

/// Appends what `fd` holds from its position up to end of file. False when reading failed before
/// the end; `bytes` then has what came until then.
[[nodiscard]] bool readToEnd(int fd, std::string& bytes);

} // namespace lumivert
