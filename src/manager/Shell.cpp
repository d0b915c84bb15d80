#include "manager/Shell.h"

#include "model/Text.h"

#include <utility>

namespace lumivert {

ProcessResult runInShell(const ProcessRunner& run, const std::string& command) {
    auto result = run("/bin/zsh", {"-c", command});
    auto* outcome = std::get_if<ProcessOutcome>(&result);
    if (outcome && !isUtf8(outcome->output))
        outcome->output.clear();
    return result;
}

std::string shellOutput(const ProcessRunner& run, const std::string& command) {
    auto result = runInShell(run, command);
    auto* outcome = std::get_if<ProcessOutcome>(&result);
    return outcome ? std::move(outcome->output) : std::string{};
}

} // namespace lumivert
