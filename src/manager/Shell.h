#pragma once

#include "platform/ProcessRunner.h"

#include <string>

namespace lumivert {

/// Hands `command` whole to the Z shell and waits for it.
[[nodiscard]] ProcessResult runInShell(ProcessRunner& processes, const std::string& command);

/// `output` when it is UTF-8, else the empty text.
[[nodiscard]] std::string decodedOutput(std::string output);

} // namespace lumivert
