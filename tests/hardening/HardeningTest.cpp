#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

namespace lumivert {
namespace {

using testing::HasSubstr;

std::string outputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), &::pclose);
    std::string text;
    std::array<char, 4096> block{};
    while (const auto count = std::fread(block.data(), 1, block.size(), pipe.get()))
        text.append(block.data(), count);
    return text;
}

class Hardening : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!LUMIVERT_HARDENED)
            GTEST_SKIP() << "release builds are hardened";
    }
    static std::string read(const std::string& what) {
        return outputOf("LC_ALL=C readelf -W " + what + " '" + GetParam() + "'");
    }
};

TEST_P(Hardening, loadsTheProgramWhereNobodyKnows) {
    EXPECT_THAT(read("-h"), HasSubstr("DYN (Position-Independent Executable file)"));
    EXPECT_THAT(read("-d"), HasSubstr("PIE"));
}

TEST_P(Hardening, leavesNoTableOfFunctionsWritable) {
    EXPECT_THAT(read("-l"), HasSubstr("GNU_RELRO"));
    EXPECT_THAT(read("-d"), HasSubstr("BIND_NOW"));
}

TEST_P(Hardening, leavesTheStackNotExecutable) {
    const std::string segments = read("-l");
    const auto at = segments.find("GNU_STACK");
    ASSERT_NE(at, segments.npos);
    const std::string line = segments.substr(at + 9, segments.find('\n', at) - at - 9);
    EXPECT_THAT(line, testing::Not(HasSubstr("E")));
}

TEST_P(Hardening, checksStackAndBuffers) {
    const std::string symbols = read("--dyn-syms");
    EXPECT_THAT(symbols, HasSubstr("__stack_chk_fail"));
    EXPECT_THAT(symbols, testing::ContainsRegex("__[a-z]+_chk@")) << "what FORTIFY calls";
}

TEST_P(Hardening, marksWhereCallsMayLand) {
#if defined(__x86_64__)
    EXPECT_THAT(outputOf(std::string("objdump -d '") + GetParam() + "' | grep -m1 endbr64"),
                HasSubstr("endbr64"));
#else
    GTEST_SKIP() << "this processor has another way";
#endif
}

INSTANTIATE_TEST_SUITE_P(Programs, Hardening, testing::Values(LUMIVERT_PROGRAM, LUMIVERT_DECODER),
                         [](const auto& program) {
                             return program.index == 0 ? "lumivert" : "decoder";
                         });

TEST(HardeningFlags, areWhatEverySourceIsCompiledWith) {
    if (!LUMIVERT_HARDENED)
        GTEST_SKIP() << "release builds are hardened";
    std::ifstream commands(LUMIVERT_COMMANDS);
    int sources = 0;
    for (std::string line; std::getline(commands, line);) {
        if (line.find("\"command\"") == line.npos || line.find("/src/") == line.npos)
            continue;
        ++sources;
        for (const char* flag :
             {"-fstack-protector-strong", "-fstack-clash-protection", "-D_FORTIFY_SOURCE=3"})
            EXPECT_THAT(line, HasSubstr(flag));
    }
    EXPECT_GT(sources, 50);
}

} // namespace
} // namespace lumivert
