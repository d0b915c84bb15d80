#pragma once

#include "platform/ProcessRunner.h"

namespace lumivert {

/// Runs programs with posix_spawn. The child gets descriptors 0, 1 and 2 and no other, the default
/// disposition of every signal and an empty signal mask, whatever this program ignores or blocks.
///
/// A SIGCHLD that is ignored (a disposition a program can be started with) is set back to its
/// default for good: the kernel would otherwise throw the exit status away (waitpid(2)).
///
/// A failure is described as the executable, a colon and the system's words for the error.
class PosixProcessRunner : public ProcessRunner {
public:
    [[nodiscard]] ProcessResult run(const std::string& executable,
                                    const std::vector<std::string>& arguments) override;
};

} // namespace lumivert
