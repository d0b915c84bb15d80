#pragma once

#include "platform/ProcessRunner.h"

namespace lumivert {

/// Runs programs as children that get descriptors 0, 1 and 2 and no other, and that are killed when
/// this process ends before them. Output goes to a pipe of 1 MiB; where the system gives none of
/// that size (a user with many pipes), to an unnamed file in memory.
///
/// A failure is described as the executable, a colon and the system's words for the error.
class PosixProcessRunner : public ProcessRunner {
public:
    [[nodiscard]] ProcessResult run(const std::string& executable,
                                    const std::vector<std::string>& arguments) override;
};

} // namespace lumivert
