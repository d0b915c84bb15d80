#include "platform/qt/QtPreferencesStore.h"

#include "support/InChild.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryFolder.h"

#include <QLockFile>
#include <QSettings>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>

namespace lumivert {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;

namespace fs = std::filesystem;
using namespace std::string_literals;

const std::string key = "SavedPrintPresets";

class QtPreferencesStoreTest : public testing::Test {
protected:
    TemporaryFolder folder;
    std::string path = folder / "config/Lumivert/Lumivert.conf";
    QtPreferencesStore store{path};

    void writeFile(const std::string& text) { folder.write("config/Lumivert/Lumivert.conf", text); }
    std::string file() const { return folder.read("config/Lumivert/Lumivert.conf"); }

    std::vector<std::string> filesBeside() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder / "config/Lumivert"))
            names.push_back(entry.path().filename());
        return names;
    }
};

TEST_F(QtPreferencesStoreTest, holdsNothingAtFirst) {
    EXPECT_EQ(store.data(key), std::nullopt);
    EXPECT_FALSE(fs::exists(path)) << "asking made a file";
}

TEST_F(QtPreferencesStoreTest, keepsEveryByte) {
    std::string bytes;
    for (int i = 0; i < 512; ++i)
        bytes += static_cast<char>(i * 37);
    store.setData(key, bytes);
    EXPECT_EQ(store.data(key), bytes);
    EXPECT_EQ(QtPreferencesStore(path).data(key), bytes);

    store.setData(key, R"([{"name":"\u00e5 \"Ö\", 100 % @ByteArray(x)\\"}])");
    EXPECT_EQ(store.data(key), R"([{"name":"\u00e5 \"Ö\", 100 % @ByteArray(x)\\"}])");
    store.setData(key, "");
    EXPECT_EQ(store.data(key), "");
}

TEST_F(QtPreferencesStoreTest, writesAtOnceAndAsAByteArray) {
    store.setData(key, "[]");
    EXPECT_EQ(file(), "[General]\nSavedPrintPresets=@ByteArray([])\n");
}

TEST_F(QtPreferencesStoreTest, readsWhatAnotherProcessWrote) {
    store.setData(key, "mine");
    ASSERT_EQ(inChild([&] {
                  QtPreferencesStore(path).setData(key, "theirs");
                  return 0;
              }),
              0);
    EXPECT_EQ(store.data(key), "theirs");
}

TEST_F(QtPreferencesStoreTest, keepsTheOtherKeysOfAnotherProcess) {
    store.setData(key, "one");
    store.setData("Window/Geometry", "old");
    ASSERT_EQ(inChild([&] {
                  QtPreferencesStore other(path);
                  other.setData("Window/Geometry", "new");
                  other.setData("Added", "later");
                  return 0;
              }),
              0);
    store.setData(key, "two");
    EXPECT_EQ(store.data(key), "two");
    EXPECT_EQ(store.data("Window/Geometry"), "new");
    EXPECT_EQ(store.data("Added"), "later");
}

TEST_F(QtPreferencesStoreTest, keepsTheValuesOfAllWritersAtOnce) {
    const auto writeKeys = [&](const std::string& prefix) {
        QtPreferencesStore own(path);
        for (int i = 0; i < 20; ++i)
            own.setData(prefix + std::to_string(i), prefix);
        return 0;
    };
    const pid_t other = ::fork();
    if (other == 0)
        ::_exit(writeKeys("theirs"));
    writeKeys("ours");
    ::waitpid(other, nullptr, 0);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(store.data("theirs" + std::to_string(i)), "theirs") << i;
        EXPECT_EQ(store.data("ours" + std::to_string(i)), "ours") << i;
    }
}

TEST_F(QtPreferencesStoreTest, readsAValueOfAnotherKindAsNothing) {
    for (const char* value : {"text", "12", "true", "a, b, c", "@Size(3 4)", "@Invalid()"}) {
        writeFile("[General]\nSavedPrintPresets=" + std::string(value) + "\n");
        EXPECT_EQ(store.data(key), std::nullopt) << value;
    }
    writeFile("[General]\nSavedPrintPresets=@ByteArray(data)\n");
    EXPECT_EQ(store.data(key), "data");
}

TEST_F(QtPreferencesStoreTest, outlivesACorruptFile) {
    const std::string garbage = "\0\377][ no = \n = \n\x80[General"s;
    writeFile(garbage);
    EXPECT_EQ(store.data(key), std::nullopt);
    EXPECT_EQ(file(), garbage) << "reading changed it";
    store.setData(key, "fresh");
    EXPECT_EQ(store.data(key), "fresh");
    EXPECT_THAT(file(), HasSubstr("SavedPrintPresets=@ByteArray(fresh)\n"));
}

TEST_F(QtPreferencesStoreTest, replacesTheFileAsAWholeAndLeavesNothingBeside) {
    store.setData(key, "one");
    std::ifstream reader(path);
    store.setData(key, "two");
    // Who opened the file before still reads the whole of its former content.
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}),
              "[General]\nSavedPrintPresets=@ByteArray(one)\n");
    EXPECT_THAT(filesBeside(), ElementsAre("Lumivert.conf"));
}

TEST_F(QtPreferencesStoreTest, writesThroughALink) {
    folder.write("dotfiles/Lumivert.conf");
    fs::create_directories(folder / "config/Lumivert");
    fs::create_symlink("../../dotfiles/Lumivert.conf", path);
    store.setData(key, "linked");
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_THAT(folder.read("dotfiles/Lumivert.conf"), HasSubstr("linked"));
}

TEST_F(QtPreferencesStoreTest, leavesThePreviousValueWhereItCannotWrite) {
    store.setData(key, "previous");
    const auto before = file();
    fs::permissions(path, fs::perms(0444));
    fs::permissions(folder / "config/Lumivert", fs::perms(0555));
    EXPECT_EQ(inChildAsOrdinaryUser([&] {
                  QtPreferencesStore own(path);
                  own.setData(key, "next");
                  own.setData("Added", "next");
                  if (own.data(key) != "previous")
                      return 1;
                  return own.data("Added") ? 2 : 0;
              }),
              0);
    fs::permissions(folder / "config/Lumivert", fs::perms(0755));
    EXPECT_EQ(file(), before);
    EXPECT_THAT(filesBeside(), ElementsAre("Lumivert.conf"));
}

TEST_F(QtPreferencesStoreTest, givesUpOnALockThatItCannotTakeOver) {
    store.setData(key, "previous");
    const auto before = file();
    ASSERT_EQ(inChild([&] {
                  // Never unlocked: the process just ends.
                  auto* left = new QLockFile(QString::fromStdString(path + ".lock"));
                  return left->tryLock() ? 0 : 1;
              }),
              0);
    ASSERT_TRUE(fs::exists(path + ".lock"));
    fs::permissions(folder / "config/Lumivert", fs::perms(0555));
    EXPECT_EQ(inChildAsOrdinaryUser([&] {
                  ::alarm(10);
                  QtPreferencesStore(path).setData(key, "next");
                  return 0;
              }),
              0);
    fs::permissions(folder / "config/Lumivert", fs::perms(0755));
    EXPECT_EQ(file(), before);
}

TEST_F(QtPreferencesStoreTest, leavesThePreviousValueWhenTheDiskIsFull) {
    store.setData(key, "previous");
    EXPECT_EQ(inChild([&] {
                  ::signal(SIGXFSZ, SIG_IGN);
                  const rlimit small = {4096, 4096};
                  ::setrlimit(RLIMIT_FSIZE, &small);
                  QtPreferencesStore own(path);
                  own.setData(key, std::string(100'000, 'x'));
                  return own.data(key) == "previous" ? 0 : 1;
              }),
              0);
    EXPECT_EQ(store.data(key), "previous");
    EXPECT_THAT(filesBeside(), ElementsAre("Lumivert.conf"));
}

TEST_F(QtPreferencesStoreTest, keepsTheFilesPermissions) {
    store.setData(key, "one");
    fs::permissions(path, fs::perms(0640));
    store.setData(key, "two");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
}

TEST_F(QtPreferencesStoreTest, leavesAFileAloneThatItCannotRead) {
    store.setData("Other", "value");
    const auto before = file();
    fs::permissions(folder / "config/Lumivert", fs::perms(0777));
    fs::permissions(path, fs::perms(0));
    EXPECT_EQ(inChildAsOrdinaryUser([&] {
                  QtPreferencesStore(path).setData(key, "value");
                  return 0;
              }),
              0);
    fs::permissions(path, fs::perms(0600));
    EXPECT_EQ(file(), before);
    EXPECT_THAT(filesBeside(), ElementsAre("Lumivert.conf"));
}

TEST_F(QtPreferencesStoreTest, isSilentWhereNoFolderCanBeMade) {
    folder.write("file");
    QtPreferencesStore nowhere(folder / "file/Lumivert.conf");
    nowhere.setData(key, "value");
    EXPECT_EQ(nowhere.data(key), std::nullopt);
}

TEST_F(QtPreferencesStoreTest, belongsToTheUserAlone) {
    store.setData(key, "[]");
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(QtPreferencesStoreTest, liesInTheUsersConfigurationDirectory) {
    // QSettings looks up its folders once a process.
    EXPECT_EQ(inChild([&] {
                  const ScopedEnvironment variable("XDG_CONFIG_HOME", folder / "xdg");
                  QtPreferencesStore users;
                  users.setData(key, "[]");
                  return users.path() == folder / "xdg/Lumivert/Lumivert.conf" ? 0 : 1;
              }),
              0);
    EXPECT_EQ(folder.read("xdg/Lumivert/Lumivert.conf"),
              "[General]\nSavedPrintPresets=@ByteArray([])\n");
    EXPECT_EQ(inChild([&] {
                  const ScopedEnvironment variable("XDG_CONFIG_HOME", std::nullopt);
                  const ScopedEnvironment home("HOME", folder / "home");
                  return QtPreferencesStore().path() ==
                                 folder / "home/.config/Lumivert/Lumivert.conf"
                             ? 0
                             : 1;
              }),
              0);
}

} // namespace
} // namespace lumivert
