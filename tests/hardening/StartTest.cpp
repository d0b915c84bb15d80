#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

namespace lumivert {
namespace {

// The status behind what it says.
std::string startWithoutDisplay(const std::string& arguments) {
    const std::string command = "env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb "
                                "timeout 60 '" LUMIVERT_PROGRAM "' " +
                                arguments + " 2>&1; echo $?";
    FILE* const pipe = ::popen(command.c_str(), "r");
    std::string text;
    std::array<char, 4096> block{};
    while (const auto count = std::fread(block.data(), 1, block.size(), pipe))
        text.append(block.data(), count);
    ::pclose(pipe);
    return text;
}

TEST(Start, withoutADisplaySaysSo) {
    const std::string text = startWithoutDisplay("");
    EXPECT_TRUE(text.ends_with("lumivert: there is no display to open a window on\n1\n")) << text;
}

TEST(Start, takesNoOptionsOfTheToolkits) {
    const std::string text = startWithoutDisplay("-platform offscreen");
    EXPECT_TRUE(text.ends_with("lumivert: there is no display to open a window on\n1\n")) << text;
}

} // namespace
} // namespace lumivert
