#include "support/RedirectedFileSystem.h"

#include "platform/posix/PosixFileSystem.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivert {
namespace {

TEST(RedirectedFileSystem, looksBelowTheOtherFolder) {
    const TemporaryFolder folder;
    folder.write("ppd/Q.ppd", "private");
    folder.write("elsewhere", "plain");
    PosixFileSystem real;
    RedirectedFileSystem files(real, "/etc/cups/ppd/", folder / "ppd/");

    EXPECT_EQ(files.readFile("/etc/cups/ppd/Q.ppd"), "private");
    EXPECT_EQ(files.readFile("/etc/cups/ppd/Other.ppd"), std::nullopt);
    EXPECT_EQ(files.readFile(folder / "elsewhere"), "plain");
    EXPECT_THAT(files.enumerate("/etc/cups/ppd/"),
                testing::Optional(testing::ElementsAre("Q.ppd")));
    EXPECT_TRUE(files.removeFile("/etc/cups/ppd/Q.ppd"));
    EXPECT_FALSE(std::filesystem::exists(folder / "ppd/Q.ppd"));
}

TEST(RedirectedFileSystem, leavesTheStandardFoldersAlone) {
    PosixFileSystem real;
    RedirectedFileSystem files(real, "/", "/nowhere/");
    EXPECT_EQ(files.homeDirectory(), real.homeDirectory());
    EXPECT_EQ(files.temporaryDirectory(), real.temporaryDirectory());
    EXPECT_EQ(files.dataFolders(), real.dataFolders());
}

} // namespace
} // namespace lumivert
