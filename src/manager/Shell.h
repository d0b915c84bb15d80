#pragma once

#include "platform/ProcessRunner.h"

#include <string>

namespace lumivert {

/// Hands `command` whole to the Z shell and waits for it. An output that is not UTF-8 becomes the
/// empty text.
[[nodiscard]] ProcessResult runInShell(const ProcessRunner& run, const std::string& command);

/// What `command` wrote, or nothing when it could not be run. Its exit status does not count.
[[nodiscard]] std::string shellOutput(const ProcessRunner& run, const std::string& command);

} // namespace lumivert
