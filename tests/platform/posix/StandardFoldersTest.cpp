#include "platform/posix/PosixFileSystem.h"
#include "support/ScopedEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

namespace lumivert {
namespace {

using testing::ElementsAre;

TEST(TemporaryDirectory, isWhatTheEnvironmentNamesWithoutItsLastSlash) {
    const ScopedEnvironment variable("TMPDIR", "/var/tmp/me//");
    EXPECT_EQ(PosixFileSystem().temporaryDirectory(), "/var/tmp/me");
}

TEST(TemporaryDirectory, isTmpOtherwise) {
    for (const auto& value : {std::optional<std::string>{}, {""}, {"relative/folder"}}) {
        const ScopedEnvironment variable("TMPDIR", value);
        EXPECT_EQ(PosixFileSystem().temporaryDirectory(), "/tmp");
    }
}

TEST(HomeDirectory, isWhatTheEnvironmentNames) {
    const ScopedEnvironment variable("HOME", "/home/photographer");
    EXPECT_EQ(PosixFileSystem().homeDirectory(), "/home/photographer");
}

TEST(HomeDirectory, isTheUsersEntryOtherwise) {
    const passwd* entry = ::getpwuid(::getuid());
    const std::string expected = entry ? entry->pw_dir : "/";
    for (const auto& value : {std::optional<std::string>{}, {""}}) {
        const ScopedEnvironment variable("HOME", value);
        EXPECT_EQ(PosixFileSystem().homeDirectory(), expected);
    }
}

TEST(DataFolders, beginWithTheUsersThatTheEnvironmentNames) {
    const ScopedEnvironment variable("XDG_DATA_HOME", "/data/mine/");
    EXPECT_EQ(PosixFileSystem().dataFolders().front(), "/data/mine");
}

TEST(DataFolders, beginInTheHomeDirectoryOtherwise) {
    const ScopedEnvironment home("HOME", "/home/photographer");
    for (const auto& value : {std::optional<std::string>{}, {""}, {"relative"}}) {
        const ScopedEnvironment variable("XDG_DATA_HOME", value);
        EXPECT_EQ(PosixFileSystem().dataFolders().front(), "/home/photographer/.local/share");
    }
}

class SharedDataFolders : public testing::Test {
protected:
    const ScopedEnvironment home{"XDG_DATA_HOME", "/mine"};
};

TEST_F(SharedDataFolders, keepTheOrderOfTheEnvironment) {
    const ScopedEnvironment variable("XDG_DATA_DIRS", "/usr/share/desktop/:/b:/usr/share/");
    EXPECT_THAT(PosixFileSystem().dataFolders(),
                ElementsAre("/mine", "/usr/share/desktop", "/b", "/usr/share"));
}

TEST_F(SharedDataFolders, leaveOutWhatIsNotAbsolute) {
    const ScopedEnvironment variable("XDG_DATA_DIRS", ":relative:/a::./b:");
    EXPECT_THAT(PosixFileSystem().dataFolders(), ElementsAre("/mine", "/a"));
    const ScopedEnvironment none("XDG_DATA_DIRS", "relative");
    EXPECT_THAT(PosixFileSystem().dataFolders(), ElementsAre("/mine"));
}

TEST_F(SharedDataFolders, areTheTwoUsualOnesOtherwise) {
    for (const auto& value : {std::optional<std::string>{}, {""}}) {
        const ScopedEnvironment variable("XDG_DATA_DIRS", value);
        EXPECT_THAT(PosixFileSystem().dataFolders(),
                    ElementsAre("/mine", "/usr/local/share", "/usr/share"));
    }
}

} // namespace
} // namespace lumivert
