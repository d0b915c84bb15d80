#pragma once

#include "model/Uuid.h"

#include <string>

/// The functions of Platform that take the C library only.
namespace lumivert {

/// A fresh UUID (RFC 9562, version 4) from the kernel's random numbers. Any thread.
[[nodiscard]] Uuid randomUuid();

/// Writes `line` and a line break to standard output, past stdio's buffer but after what that
/// holds. What cannot be written (nobody reads, the disk is full, the reader of a non-blocking pipe
/// is late) is lost.
void writeLine(const std::string& line);

} // namespace lumivert
