#pragma once

#include <string>

namespace lumivert {

/// Writes `line` and a line break to standard output, past stdio's buffer but after what that
/// holds. What cannot be written (nobody reads, the disk is full, the reader of a non-blocking pipe
/// is late) is lost.
void writeLine(const std::string& line);

} // namespace lumivert
