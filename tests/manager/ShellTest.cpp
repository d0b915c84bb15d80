#include "manager/Shell.h"

#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"

#include <gtest/gtest.h>

#include <functional>

namespace lumivert {
namespace {

class RecordingRunner {
public:
    ProcessResult operator()(const std::string& executable,
                             const std::vector<std::string>& arguments) {
        call = {executable};
        call.insert(call.end(), arguments.begin(), arguments.end());
        return ProcessOutcome{7, output};
    }
    std::string output = "out\n";
    std::vector<std::string> call;
};

TEST(Shell, isTheZShellWithTheCommandInOneArgument) {
    RecordingRunner runner;
    const std::string command = "lpstat -p 'a b' \"$HOME\" 2>/dev/null";
    const auto result = runInShell(std::ref(runner), command);
    EXPECT_EQ(runner.call, (std::vector<std::string>{"/bin/zsh", "-c", command}));
    EXPECT_EQ(std::get<ProcessOutcome>(result).exitStatus, 7);
    EXPECT_EQ(std::get<ProcessOutcome>(result).output, "out\n");
}

TEST(Shell, givesTextExactlyAsWritten) {
    RecordingRunner runner;
    for (const char* text : {" å\n\n", "", "a\xffz", "cut \xe2\x82"}) {
        runner.output = text;
        const bool isText = std::string(text).find_first_of("\xff\x82") == std::string::npos;
        EXPECT_EQ(shellOutput(std::ref(runner), "x"), isText ? text : "");
        EXPECT_EQ(std::get<ProcessOutcome>(runInShell(std::ref(runner), "x")).output,
                  isText ? text : "");
    }
}

// What discovery makes of an outcome of `lpstat -p`.
std::size_t printersFrom(const ProcessOutcome& outcome) {
    fakes::FakePlatform world;
    world.processes.outcomes["lpstat -p"] = outcome;
    const PrintManager m(world.platform);
    return m.availablePrinters->size();
}

TEST(Shell, doesNotLookAtTheExitStatus) {
    EXPECT_EQ(printersFrom({0, "printer Q is idle.\n"}), 1U);
    EXPECT_EQ(printersFrom({1, "printer Q is idle.\n"}), 1U);
    EXPECT_EQ(printersFrom({139, "printer Q is idle.\n"}), 1U);
    EXPECT_EQ(printersFrom({1, ""}), 0U);
}

TEST(Shell, givesNothingForOutputThatIsNotUtf8) {
    EXPECT_EQ(printersFrom({0, "printer Q is idle.\nprinter \xe9 is idle.\n"}), 0U);
}

TEST(Shell, givesNothingWhenItCannotBeStarted) {
    fakes::FakePlatform world;
    world.addQueue("Q");
    world.processes.launchFailure = "no such file";
    const PrintManager m(world.platform);
    EXPECT_TRUE(m.availablePrinters->empty());
    EXPECT_EQ(m.lastPrintError.get(), std::nullopt) << "discovery reports no failure";
}

} // namespace
} // namespace lumivert
