#include "manager/Shell.h"

#include "model/Text.h"

#include <utility>

namespace lumivert {

ProcessResult runInShell(ProcessRunner& processes, const std::string& command) {
    auto result = processes.run("/bin/zsh", {"-c", command});
    auto* outcome = std::get_if<ProcessOutcome>(&result);
    if (outcome && !isUtf8(outcome->output))
        outcome->output.clear();
    return result;
}

std::string shellOutput(ProcessRunner& processes, const std::string& command) {
    auto result = runInShell(processes, command);
    auto* outcome = std::get_if<ProcessOutcome>(&result);
    return outcome ? std::move(outcome->output) : std::string{};
}

} // namespace lumivert
