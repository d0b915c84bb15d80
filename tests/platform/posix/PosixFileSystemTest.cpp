#include "platform/posix/PosixFileSystem.h"

#include "support/InChild.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace lumivert {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

std::optional<std::string> readFile(const std::string& path) {
    return PosixFileSystem().readFile(path);
}

std::optional<std::vector<std::string>> enumerate(const std::string& folder) {
    return PosixFileSystem().enumerate(folder);
}

TEST(ReadingAFile, givesEveryByte) {
    const TemporaryFolder folder;
    const std::string bytes("a\0b\r\n\377", 6);
    EXPECT_EQ(readFile(folder.write("file", bytes)), bytes);
    EXPECT_EQ(readFile(folder.write("empty", "")), "");
    const std::string large(3'000'001, 'x');
    EXPECT_EQ(readFile(folder.write("large", large)), large);
}

TEST(ReadingAFile, readsFilesWhoseSizeTheSystemDoesNotKnow) {
    const auto status = readFile("/proc/self/status");
    ASSERT_TRUE(status);
    EXPECT_TRUE(status->starts_with("Name:"));
}

TEST(ReadingAFile, givesNothingForAFileThatOutgrowsAnyProfile) {
    const TemporaryFolder folder;
    const auto file = folder.write("vast.icc");
    fs::resize_file(file, std::uintmax_t{64} << 20);
    EXPECT_TRUE(readFile(file));
    fs::resize_file(file, (std::uintmax_t{64} << 20) + 1);
    EXPECT_FALSE(readFile(file));
}

TEST(ReadingAFile, followsALink) {
    const TemporaryFolder folder;
    folder.write("file", "text");
    fs::create_symlink("file", folder / "link");
    EXPECT_EQ(readFile(folder / "link"), "text");
}

TEST(ReadingAFile, givesNothingForWhatIsNoFile) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0644), 0);
    fs::create_symlink("nowhere", folder / "dangling");
    EXPECT_EQ(readFile(folder / "missing"), std::nullopt);
    EXPECT_EQ(readFile(folder.path()), std::nullopt);
    EXPECT_EQ(readFile(folder / "fifo"), std::nullopt);
    EXPECT_EQ(readFile(folder / "dangling"), std::nullopt);
    EXPECT_EQ(readFile("/dev/zero"), std::nullopt);
    EXPECT_EQ(readFile(""), std::nullopt);
}

TEST(ReadingAFile, doesNotCutAPathAtANul) {
    const TemporaryFolder folder;
    folder.write("file", "text");
    EXPECT_EQ(readFile(folder / std::string("file\0.ppd", 9)), std::nullopt);
}

TEST(ReadingAFile, givesNothingForAnUnreadableFile) {
    const TemporaryFolder folder;
    const auto file = folder.write("secret", "text");
    fs::permissions(file, fs::perms::none);
    EXPECT_EQ(inChildAsOrdinaryUser([&] { return readFile(file) ? 1 : 0; }), 0);
}

TEST(EnumeratingAFolder, listsFilesAndFoldersAtAllDepths) {
    const TemporaryFolder folder;
    folder.write("Photo Satin.icc");
    folder.write("Vendor/Profiles/Gloss.ICC");
    folder.write(".hidden/x.icm");
    fs::create_directory(folder / "empty.icc");
    EXPECT_THAT(enumerate(folder.path()),
                Optional(UnorderedElementsAre("Photo Satin.icc", "Vendor", "Vendor/Profiles",
                                              "Vendor/Profiles/Gloss.ICC", ".hidden",
                                              ".hidden/x.icm", "empty.icc")));
}

TEST(EnumeratingAFolder, listsAFolderRightBeforeItsContents) {
    const TemporaryFolder folder;
    for (const char* name : {"a/1", "a/2", "b/c/3", "b/4", "d/5"})
        folder.write(name);
    const auto paths = enumerate(folder.path()).value();
    ASSERT_EQ(paths.size(), 9u);
    for (const std::string folderName : {"a", "b", "b/c", "d"}) {
        const auto at = std::find(paths.begin(), paths.end(), folderName);
        const auto isBelow = [&](const std::string& path) {
            return path.starts_with(folderName + '/');
        };
        const auto below = std::count_if(paths.begin(), paths.end(), isBelow);
        ASSERT_GE(paths.end() - at, 1 + below) << folderName;
        EXPECT_TRUE(std::all_of(at + 1, at + 1 + below, isBelow)) << folderName;
    }
}

TEST(EnumeratingAFolder, keepsTheOrderOfTheDisk) {
    const TemporaryFolder folder;
    for (int i = 0; i < 50; ++i)
        folder.write("profile " + std::to_string(i * 37 % 50));
    std::vector<std::string> onDisk;
    for (const auto& entry : fs::directory_iterator(folder.path()))
        onDisk.push_back(entry.path().filename());
    EXPECT_EQ(enumerate(folder.path()), onDisk);
}

TEST(EnumeratingAFolder, givesNothingForAFolderThatCannotBeOpened) {
    const TemporaryFolder folder;
    EXPECT_EQ(enumerate(folder / "missing"), std::nullopt);
    EXPECT_EQ(enumerate(folder.write("file")), std::nullopt);
    EXPECT_EQ(enumerate(""), std::nullopt);
    EXPECT_EQ(enumerate(folder.path() + std::string("\0x", 2)), std::nullopt);
    EXPECT_THAT(enumerate(folder / "."), Optional(ElementsAre("file")));
}

TEST(EnumeratingAFolder, followsLinks) {
    const TemporaryFolder folder;
    folder.write("elsewhere/deep/x.icc");
    folder.write("root/plain");
    fs::create_directory_symlink("../elsewhere", folder / "root/link");
    fs::create_symlink("nowhere", folder / "root/dangling");
    EXPECT_THAT(enumerate(folder / "root"),
                Optional(UnorderedElementsAre("plain", "link", "link/deep", "link/deep/x.icc",
                                              "dangling")));
    fs::create_directory_symlink("root", folder / "way in");
    EXPECT_EQ(enumerate(folder / "way in").value().size(), 5u);
}

TEST(EnumeratingAFolder, entersEachFolderOnce) {
    const TemporaryFolder folder;
    folder.write("a/x.icc");
    fs::create_directory_symlink(".", folder / "self");
    fs::create_directory_symlink("..", folder / "a/up");
    fs::create_directory_symlink("a", folder / "again");
    const auto paths = enumerate(folder.path()).value();
    EXPECT_EQ(paths.size(), 5u) << testing::PrintToString(paths);
    EXPECT_EQ(std::count_if(paths.begin(), paths.end(),
                            [](const auto& path) { return path.ends_with("/x.icc"); }),
              1);
    // Each walk starts afresh.
    EXPECT_EQ(enumerate(folder.path()), paths);
}

TEST(EnumeratingAFolder, neitherOpensNorWaitsForAFifo) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0644), 0);
    fs::create_symlink("fifo", folder / "link");
    EXPECT_THAT(enumerate(folder.path()), Optional(UnorderedElementsAre("fifo", "link")));
}

TEST(EnumeratingAFolder, listsButSkipsAnUnreadableFolder) {
    const TemporaryFolder folder;
    folder.write("closed/x.icc");
    folder.write("open/y.icc");
    fs::permissions(folder / "closed", fs::perms::none);
    EXPECT_EQ(inChildAsOrdinaryUser([&] {
                  auto paths = enumerate(folder.path()).value();
                  std::sort(paths.begin(), paths.end());
                  return paths == std::vector<std::string>{"closed", "open", "open/y.icc"} ? 0 : 1;
              }),
              0);
    fs::permissions(folder / "closed", fs::perms::owner_all);
}

TEST(EnumeratingAFolder, leavesOutOnlyWhatHasNoTextForAName) {
    const TemporaryFolder folder;
    folder.write("caf\351.icc");
    folder.write("Gr\374n/below.icc");
    folder.write("line\nbreak/x.icm");
    folder.write("café.icc");
    EXPECT_THAT(enumerate(folder.path()),
                Optional(UnorderedElementsAre("café.icc", "line\nbreak", "line\nbreak/x.icm")));
}

TEST(EnumeratingAFolder, comesBackFromAVeryDeepTree) {
    const TemporaryFolder folder;
    const std::string name(200, 'd');
    int depth = 0;
    {
        int at = ::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY);
        for (; depth < 40; ++depth) {
            ASSERT_EQ(::mkdirat(at, name.c_str(), 0755), 0);
            const int below = ::openat(at, name.c_str(), O_RDONLY | O_DIRECTORY);
            ::close(at);
            at = below;
        }
        ::close(at);
    }
    const auto paths = enumerate(folder.path()).value();
    // 4096 bytes of path are the system's limit; what lies deeper cannot be opened by name.
    EXPECT_GE(paths.size(), 20u);
    EXPECT_LE(paths.back().size(), 4096u + 201u);
}

TEST(EnumeratingAFolder, leavesNoDescriptorOpen) {
    const TemporaryFolder folder;
    folder.write("a/b/c");
    fs::create_directory_symlink("..", folder / "a/up");
    const auto count = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    const auto before = count();
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(enumerate(folder.path()));
    EXPECT_EQ(count(), before);
}

TEST(RemovingAFile, saysWhetherItIsGone) {
    const TemporaryFolder folder;
    const auto file = folder.write("Lumivert_x.pdf", "text");
    PosixFileSystem files;
    EXPECT_TRUE(files.removeFile(file));
    EXPECT_FALSE(fs::exists(file));
    EXPECT_TRUE(files.removeFile(file));
    EXPECT_TRUE(files.removeFile(folder / "no folder/file"));
}

TEST(RemovingAFile, leavesFoldersAlone) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "empty");
    EXPECT_FALSE(PosixFileSystem().removeFile(folder / "empty"));
    EXPECT_TRUE(fs::exists(folder / "empty"));
}

TEST(RemovingAFile, removesALinkAndNotWhatItNames) {
    const TemporaryFolder folder;
    folder.write("file", "text");
    fs::create_symlink("file", folder / "link");
    EXPECT_TRUE(PosixFileSystem().removeFile(folder / "link"));
    EXPECT_EQ(folder.read("file"), "text");
}

TEST(RemovingAFile, failsWhereTheFolderIsNotOurs) {
    const TemporaryFolder folder;
    const auto file = folder.write("file", "text");
    fs::permissions(folder.path(), fs::perms(0555));
    EXPECT_EQ(inChildAsOrdinaryUser([&] { return PosixFileSystem().removeFile(file) ? 1 : 0; }), 0);
    fs::permissions(folder.path(), fs::perms(0755));
    EXPECT_TRUE(fs::exists(file));
}

} // namespace
} // namespace lumivert
