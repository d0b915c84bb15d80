#include "manager/Shell.h"

#include "manager/PrintManager.h"
#include "manager/TextLines.h"

#include <utility>

namespace lumivert {

ProcessResult runInShell(ProcessRunner& processes, const std::string& command) {
    return processes.run("/bin/zsh", {"-c", command});
}

std::string decodedOutput(std::string output) {
    return isUtf8(output) ? std::move(output) : std::string{};
}

std::string PrintManager::shell(const std::string& command) const {
    auto result = runInShell(m_platform.processes, command);
    auto* outcome = std::get_if<ProcessOutcome>(&result);
    return outcome ? decodedOutput(std::move(outcome->output)) : std::string{};
}

} // namespace lumivert
