#include "model/FileUrl.h"
#include "model/Models.h"
#include "platform/decoder/DecoderClient.h"
#include "support/TemporaryFolder.h"
#include "support/Threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <future>
#include <sys/wait.h>
#include <thread>

namespace lumivert {
namespace {

using namespace std::chrono_literals;

// Long for a loaded machine; short where waiting is what is tested.
constexpr auto patience = 20s;
constexpr auto impatience = 500ms;

DecoderOptions options(std::chrono::milliseconds answerTimeout = patience,
                       std::chrono::milliseconds rowTimeout = patience) {
    return {.path = LUMIVERT_FAKE_DECODER,
            .screenEdge = [] { return 2048; },
            .answerTimeout = answerTimeout,
            .rowTimeout = rowTimeout};
}

class HostileDecoder : public testing::Test {
protected:
    std::shared_ptr<const Image> decode(const std::string& word) {
        return m_client.decode(FileUrl::fromPath(m_folder.write("photo", word)));
    }

    DecoderClient m_client{options()};
    TemporaryFolder m_folder;
};

/// Its answers are waited for, its rows are not.
class SlowRows : public testing::Test {
protected:
    std::shared_ptr<const Image> decode(const std::string& word) {
        return m_client.decode(FileUrl::fromPath(m_folder.write("photo", word)));
    }

    DecoderClient m_client{options(patience, impatience)};
    TemporaryFolder m_folder;
};

TEST_F(HostileDecoder, isBelievedWhenItBehaves) {
    const auto image = decode("good");
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), (SizePoints{2, 2}));
    const auto rows = image->bitmap()->rows(std::nullopt);
    ASSERT_TRUE(rows);
    Bytes buffer(12);
    EXPECT_EQ(rows->readRows(buffer), 2u);
    EXPECT_EQ(rows->readRows(buffer), 0u);
}

TEST_F(HostileDecoder, isNoMoreThanAnImageThatDidNotDecode) {
    const auto start = std::chrono::steady_clock::now();
    for (const char* word :
         {"crash",        "exit",    "garbage", "long",     "magic",    "version",
          "kind",         "refused", "zero",    "negative", "huge",     "vast",
          "channels",     "bits",    "density", "nan",      "white",    "rendition",
          "norendition",  "short",   "surplus", "profile",  "unsealed", "pipe",
          "nodescriptor", "two",     "done",    "dense",    "dark"})
        EXPECT_FALSE(decode(word)) << word;
    EXPECT_LT(std::chrono::steady_clock::now() - start, patience) << "one was waited for";
}

TEST(HangingDecoder, isNotWaitedForForever) {
    const TemporaryFolder folder;
    DecoderClient client(options(impatience));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(client.decode(FileUrl::fromPath(folder.write("photo", "hang"))));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, impatience);
    EXPECT_LT(waited, patience);
}

SharedBytes profileOf(const std::string& word) {
    std::string bytes = word + std::string(200 - word.size(), '\0');
    bytes.replace(12, 8, "mntrRGB ");
    bytes.replace(36, 4, "acsp");
    const auto view = std::as_bytes(std::span(bytes));
    return sharedBytes(Bytes(view.begin(), view.end()));
}

TEST_F(HostileDecoder, isBelievedOfAProfileOnlyWhatItsHeaderBears) {
    const auto good = m_client.colorSpace(profileOf("good"));
    ASSERT_TRUE(good && *good);
    EXPECT_EQ((*good)->channels, 3);
    EXPECT_TRUE((*good)->isDestination);
    EXPECT_EQ(m_client.colorSpace(profileOf("none")), nullptr);
    EXPECT_FALSE(m_client.colorSpace(profileOf("maybe")).value()->isDestination);
    for (const char* word : {"inks", "vast", "refused", "crash", "garbage"})
        EXPECT_EQ(m_client.colorSpace(profileOf(word)), std::nullopt) << word;
}

TEST(HangingDecoder, isNotWaitedForForeverOverAProfile) {
    DecoderClient client(options(impatience));
    EXPECT_EQ(client.colorSpace(profileOf("hang")), std::nullopt);
}

TEST_F(HostileDecoder, cannotPassOffAnythingAsAJpegStream) {
    for (const char* word : {"jpeg", "jpegturn", "jpegsize"}) {
        const auto image = decode(word);
        ASSERT_TRUE(image) << word;
        EXPECT_FALSE(image->bitmap()->jpegStream()) << word;
    }
}

TEST_F(HostileDecoder, refusesRowsOfAnotherShape) {
    for (const char* word :
         {"rowscrash", "rowsrefused", "rowswidth", "rowsheight", "rowschannels", "rowsbits"}) {
        const auto image = decode(word);
        ASSERT_TRUE(image) << word;
        EXPECT_FALSE(image->bitmap()->rows(std::nullopt)) << word;
    }
}

void expectOneRowOnly(const std::shared_ptr<const Image>& image) {
    ASSERT_TRUE(image);
    const auto rows = image->bitmap()->rows(std::nullopt);
    ASSERT_TRUE(rows);
    Bytes row(6);
    EXPECT_EQ(rows->readRows(row), 1u);
    EXPECT_FALSE(rows->readRows(row));
    EXPECT_FALSE(rows->readRows(row));
}

TEST_F(HostileDecoder, givesTheRowsWhenTheyComeTooEarlyTooManyOrWithoutAnEnd) {
    const auto start = std::chrono::steady_clock::now();
    for (const char* word : {"rowsfirst", "rowsmore", "rowslate"}) {
        const auto image = decode(word);
        ASSERT_TRUE(image) << word;
        const auto rows = image->bitmap()->rows(std::nullopt);
        ASSERT_TRUE(rows) << word;
        Bytes buffer(60);
        EXPECT_EQ(rows->readRows(buffer), 2u) << word;
        EXPECT_EQ(buffer[11], std::byte{'l'}) << word;
        EXPECT_EQ(rows->readRows(buffer), 0u) << word;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, patience) << "an end was waited for";
}

TEST_F(HostileDecoder, breaksRowsOffWhenItEnds) {
    const auto start = std::chrono::steady_clock::now();
    expectOneRowOnly(decode("rowsend"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, patience);
}

TEST_F(SlowRows, areBrokenOff) {
    expectOneRowOnly(decode("rowsstall"));
}

TEST_F(SlowRows, cannotBeStretchedByDrippingTheirBytes) {
    const auto image = decode("rowsdrip");
    ASSERT_TRUE(image);
    const auto rows = image->bitmap()->rows(std::nullopt);
    ASSERT_TRUE(rows);
    Bytes row(6);
    EXPECT_FALSE(rows->readRows(row));
}

TEST(DecoderRows, breakOffWhereThePageTakesTooLongThoughNoRowDoes) {
    const TemporaryFolder folder;
    DecoderOptions slow = options();
    slow.pageTimeout = impatience;
    DecoderClient client(slow);
    const auto image = client.decode(FileUrl::fromPath(folder.write("photo", "rowsdrip")));
    ASSERT_TRUE(image);
    const auto rows = image->bitmap()->rows(std::nullopt);
    ASSERT_TRUE(rows);
    Bytes both(12);
    EXPECT_FALSE(rows->readRows(both));
}

TEST(SoftProof, doesNotHoldUpAProgramThatQuits) {
    const TemporaryFolder folder;
    std::future<void> running;
    DecoderOptions background = options();
    background.inBackground = [&](auto task) {
        running = std::async(std::launch::async, std::move(task));
    };
    auto client = std::make_unique<DecoderClient>(background);
    const auto image = client->decode(FileUrl::fromPath(folder.write("photo", "proofhang")));
    ASSERT_TRUE(image);
    auto space = std::make_shared<ColorSpace>();
    space->profile = sharedBytes(Bytes(128));
    space->channels = 3;
    image->softProof({space, RenderingIntent::relative}, [](auto proof) { EXPECT_FALSE(proof); });
    std::this_thread::sleep_for(200ms); // until it most likely runs; it ends soon either way
    client.reset();
    EXPECT_EQ(running.wait_for(10s), std::future_status::ready);
}

TEST_F(HostileDecoder, makesNoSoftProofThatCannotBeMade) {
    auto space = std::make_shared<ColorSpace>();
    space->profile = sharedBytes(Bytes(128));
    space->channels = 3;
    for (const std::string word : {"proofgood", "good", "proofcrash", "proofkind", "proofwide",
                                   "proofshort", "proofunsealed", "proofnone", "prooftwo"}) {
        const auto image = decode(word);
        ASSERT_TRUE(image) << word;
        std::optional<bool> made;
        image->softProof({space, RenderingIntent::relative},
                         [&](const auto& proof) { made = proof != nullptr; });
        EXPECT_EQ(made, word == "proofgood") << word;
    }
}

TEST(DecoderPool, replacesASpareThatHasDied) {
    const TemporaryFolder folder;
    ::setenv("FAKE_DECODER_ENDS_AT_ONCE", "1", 1);
    DecoderClient client(options());
    client.prepareSpare();
    siginfo_t ended{};
    ASSERT_EQ(::waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT), 0);
    ::unsetenv("FAKE_DECODER_ENDS_AT_ONCE");
    EXPECT_TRUE(client.decode(FileUrl::fromPath(folder.write("photo", "good"))));
}

TEST(DecoderPool, keepsTheProgramItBeganWith) {
    const TemporaryFolder folder;
    DecoderOptions copied = options();
    copied.path = folder / "decoder";
    std::filesystem::copy_file(LUMIVERT_FAKE_DECODER, copied.path);
    DecoderClient client(copied);
    const FileUrl photo = FileUrl::fromPath(folder.write("photo", "good"));
    std::filesystem::remove(copied.path);
    const auto image = client.decode(photo);
    ASSERT_TRUE(image);
    std::filesystem::copy_file("/bin/false", copied.path);
    EXPECT_TRUE(image->bitmap()->rows(std::nullopt));
}

TEST(DecoderPool, decodesNothingWithoutItsProgram) {
    const TemporaryFolder folder;
    DecoderOptions without = options();
    without.path = folder / "absent";
    DecoderClient client(without);
    client.prepareSpare();
    EXPECT_FALSE(client.decode(FileUrl::fromPath(folder.write("photo", "good"))));
    EXPECT_EQ(client.colorSpace(profileOf("good")), std::nullopt) << "not: no profile";
}

TEST(DecoderPool, leavesNoProcessBehind) {
    const TemporaryFolder folder;
    {
        DecoderClient client(options(impatience));
        client.prepareSpare();
        for (const char* word : {"good", "crash", "hang"})
            (void)client.decode(FileUrl::fromPath(folder.write("photo", word)));
    }
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); // neither running nor unreaped
    EXPECT_EQ(errno, ECHILD);
}

TEST(DecoderPool, leavesNoDescriptorOpenAndNoneThatAProgramInherits) {
    const TemporaryFolder folder;
    const FileUrl photo = FileUrl::fromPath(folder.write("photo", "good"));
    const auto openOnes = [] {
        std::vector<int> open;
        for (int fd = 0; fd < 256; ++fd)
            if (::fcntl(fd, F_GETFD) >= 0)
                open.push_back(fd);
        return open;
    };
    const auto before = openOnes();
    {
        DecoderClient client(options());
        client.prepareSpare();
        const auto image = client.decode(photo);
        const auto rows = image->bitmap()->rows(std::nullopt);
        for (const int fd : openOnes())
            if (!std::ranges::count(before, fd)) {
                EXPECT_TRUE(::fcntl(fd, F_GETFD) & FD_CLOEXEC);
            }
    }
    EXPECT_EQ(openOnes(), before);
}

TEST(DecoderPool, growsByNothingOverFiveHundredPhotos) {
    const TemporaryFolder folder;
    const FileUrl photo = FileUrl::fromPath(folder.write("photo", "good"));
    DecoderClient client(options());
    const auto entries = [](const char* path) {
        return std::distance(std::filesystem::directory_iterator(path), {});
    };
    const auto residentPages = [] {
        long total = 0;
        long resident = 0;
        std::ifstream("/proc/self/statm") >> total >> resident;
        return resident;
    };
    const auto printOnce = [&] {
        const auto image = client.decode(photo);
        ASSERT_TRUE(image);
        const auto rows = image->bitmap()->rows(std::nullopt);
        ASSERT_TRUE(rows);
        Bytes both(12);
        ASSERT_EQ(rows->readRows(both), 2u);
    };
    for (int i = 0; i < 50; ++i)
        printOnce();
    const auto descriptors = entries("/proc/self/fd");
    const auto before = threads();
    [[maybe_unused]] const long pages = residentPages();
    for (int i = 0; i < 500; ++i)
        printOnce();
    EXPECT_EQ(entries("/proc/self/fd"), descriptors);
    EXPECT_EQ(threadsSince(before), 0);
#if !defined(LUMIVERT_SANITIZED) // a sanitizer keeps what was freed for a while
    EXPECT_LT(residentPages(), pages + 256) << "more than 1 MiB";
#endif
}

TEST(DecoderProcess, endsWithTheProgramThatStartedIt) {
    // A child of ours starts the real decoder, tells its number and is killed.
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const pid_t program = ::fork();
    ASSERT_GE(program, 0);
    if (program == 0) {
        const auto decoder = DecoderService({.path = LUMIVERT_DECODER, .screenEdge = {}}).take();
        const pid_t number = decoder ? decoder->pid() : -1;
        if (::write(ends[1], &number, sizeof number) != sizeof number)
            ::_exit(1);
        for (;;)
            ::pause();
    }
    pid_t decoder = -1;
    ASSERT_EQ(::read(ends[0], &decoder, sizeof decoder), static_cast<ssize_t>(sizeof decoder));
    ASSERT_GT(decoder, 0);
    EXPECT_EQ(::kill(decoder, 0), 0);
    ::kill(program, SIGKILL);
    ::waitpid(program, nullptr, 0);
    ::close(ends[0]);
    ::close(ends[1]);
    const auto state = [&] {
        std::ifstream file("/proc/" + std::to_string(decoder) + "/stat");
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        const std::size_t name = text.rfind(')');
        return name == std::string::npos ? 'X' : text[name + 2];
    };
    // It belongs to whoever adopts orphans now; gone or waiting to be reaped is the same to us.
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (state() != 'X' && state() != 'Z' && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(state() == 'X' || state() == 'Z') << state();
}

} // namespace
} // namespace lumivert
