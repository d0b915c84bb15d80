#pragma once

#include <string>
#include <variant>
#include <vector>

namespace lumivert {

/// A process that ran to its end. `exitStatus` is 128 + the signal's number for one that a signal
/// ended. `output` is what it wrote to standard output and standard error, in one pipe, as bytes.
struct ProcessOutcome {
    int exitStatus = 0;
    std::string output;
};

/// A process that could not be started, and why, in words.
struct LaunchFailure {
    std::string description;
};

using ProcessResult = std::variant<ProcessOutcome, LaunchFailure>;

/// Runs programs. Main thread; blocks it until the program has ended.
class ProcessRunner {
public:
    virtual ~ProcessRunner() = default;

    /// Runs the program at the path `executable` (not looked up) with `arguments` after its name;
    /// standard input, environment and working directory are inherited. Waits for its end first and
    /// reads the pipe, made 1 MiB large, afterwards.
    [[nodiscard]] virtual ProcessResult run(const std::string& executable,
                                            const std::vector<std::string>& arguments) = 0;
};

} // namespace lumivert
