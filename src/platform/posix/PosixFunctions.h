#pragma once

#include "platform/ProcessRunner.h"

#include <string>
#include <vector>

/// The functions of Platform that take the C library only.
namespace lumivert {

/// Past stdio's buffer but after what that holds. What cannot be written (nobody reads, the disk is
/// full, the reader of a non-blocking pipe is late) is lost.
void writeLine(const std::string& line);

/// Runs a program (ProcessRunner) as a child that gets descriptors 0, 1 and 2 and no other, and
/// that is killed when this process ends before it. Output goes to a pipe of 1 MiB; where the
/// system gives none of that size (a user with many pipes), to an unnamed file in memory. A failure
/// is described as the executable, a colon and the system's words for the error.
[[nodiscard]] ProcessResult runProcess(const std::string& executable,
                                       const std::vector<std::string>& arguments);

} // namespace lumivert
