#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "platform/qt/QtFunctions.h"
#include "platform/qt/QtPreferencesStore.h"
#include "platform/system/Descriptor.h"
#include "support/InChild.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <deque>
#include <filesystem>
#include <poll.h>
#include <random>
#include <sys/mman.h>
#include <sys/resource.h>
#include <thread>

namespace lumivert {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::ElementsAre;

constexpr const char* key = "SavedPrintPresets";
using Names = std::vector<std::string>;

Names namesOf(const std::vector<PrintPreset>& presets) {
    Names names;
    for (const PrintPreset& preset : presets)
        names.push_back(preset.name);
    return names;
}

/// A program that keeps its presets in `path`, with nothing else of the world.
class Program {
public:
    explicit Program(const std::string& path)
        : m_store(path)
        , m_manager(platform()) {}

    [[nodiscard]] PrintManager& manager() { return m_manager; }
    [[nodiscard]] Names names() const { return namesOf(m_manager.presets); }

private:
    Platform platform() {
        const Platform& made = m_world.platform;
        return {made.runProcess,
                made.files,
                m_store,
                made.decodeImage,
                made.colorSpaceFromProfile,
                made.writePdf,
                made.dispatcher,
                made.openFile,
                randomUuid,
                made.writeLine};
    }

    fakes::FakePlatform m_world;
    QtPreferencesStore m_store;
    PrintManager m_manager;
};

class PresetsSurvive : public testing::Test {
protected:
    /// The names of the presets stored; nothing where there is no whole document. Read by another
    /// name each time: Qt answers from its memory where a file has the size and the time of what it
    /// read last by that name, and the kernel's clock for files may stand still for 10 ms.
    std::optional<Names> stored() const {
        const TemporaryFolder elsewhere;
        fs::create_symlink(path, elsewhere / "link");
        const auto document = QtPreferencesStore(elsewhere / "link").data(key);
        const auto presets = document ? decodePresets(*document) : std::nullopt;
        return presets ? std::optional(namesOf(*presets)) : std::nullopt;
    }
    Names filesBeside() const {
        Names names;
        for (const auto& entry : fs::directory_iterator(folder / "config"))
            names.push_back(entry.path().filename());
        return names;
    }

    TemporaryFolder folder;
    std::string path = folder / "config/Lumivert.conf";
};

/// The changes of a program that lives for ever: it saves one preset after the other, and deletes
/// the oldest while there are more than five.
class EndlessChanges {
public:
    void makeNext(PrintManager& manager) {
        if (manager.presets->size() > 5)
            manager.deletePreset(manager.presets->front());
        else
            manager.savePreset(std::to_string(m_next++));
    }
    explicit EndlessChanges(int next)
        : m_next(next) {}

private:
    int m_next;
};

TEST_F(PresetsSurvive, twoHundredKillsWhileTheyAreSavedAndDeleted) {
    std::mt19937 random(9);
    for (int kill = 0; kill < 200; ++kill) {
        const Names before = stored().value_or(Names{});
        const int first = kill * 1000;
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const Descriptor reader(ends[0]);
        Descriptor writer(ends[1]);
        const pid_t child = ::fork();
        if (child == 0) {
            Program program(path);
            EndlessChanges changes(first);
            for (;;) {
                changes.makeNext(program.manager());
                if (::write(writer.get(), "x", 1) != 1)
                    ::_exit(1);
            }
        }
        writer = Descriptor();
        pollfd begun{reader.get(), POLLIN, 0};
        ASSERT_EQ(::poll(&begun, 1, 60'000), 1) << "nothing was ever stored";
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);

        // The changes that were done, and the one that may have been.
        fakes::FakePlatform world;
        PrintManager model(world.platform);
        std::vector<PrintPreset> beginning;
        for (const std::string& name : before) {
            beginning.emplace_back().name = name;
            // None of those that the world will give out.
            beginning.back().id =
                fakes::numberedUuid(1'000'000 + static_cast<unsigned>(beginning.size()));
        }
        model.presets = beginning;
        EndlessChanges changes(first);
        char done = 0;
        while (::read(reader.get(), &done, 1) == 1)
            changes.makeNext(model);
        const Names least = namesOf(model.presets);
        changes.makeNext(model);
        const Names most = namesOf(model.presets);
        const auto now = stored();
        ASSERT_TRUE(now) << "no whole document after kill " << kill;
        ASSERT_THAT(*now, testing::AnyOf(least, most)) << "kill " << kill;
    }
    Program last(path);
    last.manager().savePreset("last");
    EXPECT_EQ(stored()->back(), "last");
    EXPECT_THAT(filesBeside(), ElementsAre("Lumivert.conf")) << "what the kills left is cleared";
}

TEST_F(PresetsSurvive, aDiskThatIsFullAndHasRoomAgain) {
    Program(path).manager().savePreset("before");
    EXPECT_EQ(inChild([&] {
                  Program program(path);
                  rlimit usual{};
                  ::getrlimit(RLIMIT_FSIZE, &usual);
                  for (const rlim_t room : {0, 1, 100, 1000}) {
                      const rlimit full{room, usual.rlim_max};
                      ::setrlimit(RLIMIT_FSIZE, &full);
                      program.manager().savePreset("full at " + std::to_string(room));
                      if (stored() != Names{"before"})
                          return 1;
                  }
                  if (program.names().size() != 5 || *program.manager().lastPrintError)
                      return 2; // they stay listed, in silence
                  ::setrlimit(RLIMIT_FSIZE, &usual);
                  program.manager().savePreset("room again");
                  return stored() == program.names() && program.names().size() == 6 ? 0 : 3;
              }),
              0);
    EXPECT_EQ(stored()->size(), 6U);
    EXPECT_THAT(filesBeside(), ElementsAre("Lumivert.conf"));
}

TEST_F(PresetsSurvive, aFolderThatIsReadOnlyForAWhile) {
    Program(path).manager().savePreset("before");
    for (const auto& entry : {path, folder / "config"})
        ::chmod(entry.c_str(), entry == path ? 0666 : 0777);
    EXPECT_EQ(inChildAsOrdinaryUser([&] {
                  Program program(path);
                  program.manager().savePreset("writable");
                  return stored() == Names{"before", "writable"} ? 0 : 1;
              }),
              0);
    ::chmod((folder / "config").c_str(), 0555);
    EXPECT_EQ(
        inChildAsOrdinaryUser([&] {
            Program program(path);
            program.manager().savePreset("refused");
            return stored() == Names{"before", "writable"} && program.names().size() == 3 ? 0 : 1;
        }),
        0);
    ::chmod((folder / "config").c_str(), 0755);
    Program program(path);
    program.manager().savePreset("after");
    EXPECT_EQ(*stored(), (Names{"before", "writable", "after"}));
}

TEST_F(PresetsSurvive, aDocumentOfTenMegabytes) {
    const auto start = std::chrono::steady_clock::now();
    {
        Program program(path);
        program.manager().savePreset(std::string(10U << 20U, 'n'));
        program.manager().savePreset("small");
    }
    Program again(path);
    ASSERT_EQ(again.names().size(), 2U);
    EXPECT_EQ(again.names().front().size(), 10U << 20U);
    again.manager().deletePreset(again.manager().presets->front());
    EXPECT_EQ(*stored(), Names{"small"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, 300s);
}

TEST_F(PresetsSurvive, tenThousandPresets) {
    PrintPreset preset;
    std::vector<PrintPreset> many;
    for (unsigned i = 0; i < 10'000; ++i) {
        preset.id = fakes::numberedUuid(i);
        preset.name = std::to_string(i);
        many.push_back(preset);
    }
    QtPreferencesStore(path).setData(key, encodePresets(many).value());
    const auto start = std::chrono::steady_clock::now();
    Program program(path);
    EXPECT_EQ(program.manager().presets.get(), many);
    program.manager().savePreset("one more");
    program.manager().deletePreset(many.front());
    EXPECT_EQ(stored()->size(), 10'000U);
    EXPECT_EQ(stored()->front(), "1");
    EXPECT_EQ(stored()->back(), "one more");
    EXPECT_LT(std::chrono::steady_clock::now() - start, 300s);
}

TEST_F(PresetsSurvive, valuesOfWrongTypesUntilTheNextChange) {
    for (const char* value :
         {"text", "12", "true", "a, b, c", "@Size(3 4)", "@Invalid()", "@Variant(\\0\\0\\0\\x2)",
          "@ByteArray([1, 2])", "@ByteArray({\\\"id\\\": 7})", "@ByteArray([{\\\"id\\\": 7}])",
          "@ByteArray([] \\0)", "@ByteArray("}) {
        SCOPED_TRACE(value);
        const std::string file =
            "[General]\nOther=kept\nSavedPrintPresets=" + std::string(value) + "\n";
        folder.write("config/Lumivert.conf", file);
        Program program(path);
        EXPECT_TRUE(program.names().empty());
        EXPECT_EQ(folder.read("config/Lumivert.conf"), file) << "reading changed it";
        program.manager().savePreset("fresh");
        EXPECT_EQ(stored(), Names{"fresh"});
        EXPECT_NE(folder.read("config/Lumivert.conf").find("Other=kept\n"), std::string::npos);
    }
}

TEST_F(PresetsSurvive, aClockThatWasSetBack) {
    Program(path).manager().savePreset("before");
    // As a program leaves it that was killed between making its lock and signing it.
    const std::string lock = folder.write("config/Lumivert.conf.lock");
    for (const std::string& file : {lock, path})
        fs::last_write_time(file, fs::file_time_type::clock::now() + 24h);
    Program(path).manager().savePreset("after");
    EXPECT_EQ(stored(), (Names{"before", "after"}));
    EXPECT_THAT(filesBeside(), ElementsAre("Lumivert.conf"));
}

// The stored document mirrors the list of the program that changed it last: nothing is merged. But
// it is always one of the two, whole.
TEST_F(PresetsSurvive, twoProgramsAtOnce) {
    Program(path).manager().savePreset("from before");
    // What the programs and this one share: they go on until they were looked at often enough.
    struct Shared {
        std::atomic<int> looks;
        std::array<std::atomic<std::size_t>, 2> saved;
    };
    void* memory =
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    Shared& shared = *new (memory) Shared{};
    // One that began after the other's first save would go on from that.
    Program program(path);
    std::vector<pid_t> programs;
    for (const std::size_t number : {0U, 1U}) {
        const pid_t child = ::fork();
        if (child == 0) {
            for (int i = 0; i < 30 || shared.looks < 10; ++i)
                program.manager().savePreset("ab"[number] + std::to_string(i));
            shared.saved[number] = program.names().size();
            ::_exit(0);
        }
        programs.push_back(child);
    }
    const auto isOfOne = [](const Names& names) {
        for (std::size_t i = 1; i < names.size(); ++i)
            if (names[i].front() != names[1].front() || names[i].substr(1) != std::to_string(i - 1))
                return false;
        return !names.empty() && names.front() == "from before";
    };
    while (!programs.empty()) {
        const auto now = stored();
        EXPECT_TRUE(now && isOfOne(*now)) << testing::PrintToString(now.value_or(Names{}));
        ++shared.looks;
        std::erase_if(programs,
                      [](pid_t child) { return ::waitpid(child, nullptr, WNOHANG) != 0; });
    }
    EXPECT_THAT(stored()->size(), testing::AnyOf(shared.saved[0].load(), shared.saved[1].load()));
    ::munmap(memory, sizeof(Shared));
    EXPECT_THAT(filesBeside(), ElementsAre("Lumivert.conf"));
}

} // namespace
} // namespace lumivert
