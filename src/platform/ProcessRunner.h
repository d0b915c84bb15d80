#pragma once

#include <functional>
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

/// Runs the program at the path `executable` (not looked up) with `arguments` after its name;
/// standard input, environment and working directory are inherited. Waits for its end first and
/// reads the pipe, made 1 MiB large, afterwards. Main thread; blocks it until then.
using ProcessRunner = std::function<ProcessResult(const std::string& executable,
                                                  const std::vector<std::string>& arguments)>;

} // namespace lumivert
