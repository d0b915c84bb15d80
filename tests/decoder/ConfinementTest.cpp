#include "decoder/Confinement.h"

#include "decoder/TestPhotos.h"
#include "files/SensorPhoto.h"
#include "model/FileUrl.h"
#include "platform/decoder/DecoderClient.h"
#include "platform/decoder/DecoderProtocol.h"
#include "platform/system/Descriptor.h"
#include "platform/system/Packets.h"
#include "platform/system/SealedMemory.h"
#include "support/InChild.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <map>
#include <poll.h>
#include <sched.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace lumivert::decoder {
namespace {

using namespace test;
namespace fs = std::filesystem;

constexpr std::uint64_t gibibyte = std::uint64_t{1} << 30;

std::uint64_t halfOfMachine() {
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) / 2 *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

// A program with one end of a socket at descriptor 3, as the decoder has it, a descriptor too many
// and standard error in `errors`.
class Started {
public:
    explicit Started(const char* path, const char* argument = nullptr) {
        std::array<int, 2> ends{};
        std::array<int, 2> pipe{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0 ||
            ::pipe2(pipe.data(), O_CLOEXEC) != 0)
            std::abort();
        socket = Descriptor(ends[0]);
        m_errors = Descriptor(pipe[0]);
        pid = ::fork();
        if (pid == 0) {
            ::dup2(pipe[1], STDERR_FILENO);
            ::dup2(ends[1], protocol::controlDescriptor);
            ::dup2(STDIN_FILENO, 40); // somebody forgot to close it
            ::execl(path, path, argument, nullptr);
            ::_exit(127);
        }
        ::close(ends[1]);
        ::close(pipe[1]);
    }
    Started(const Started&) = delete;
    Started& operator=(const Started&) = delete;
    ~Started() {
        if (pid > 0) {
            ::kill(pid, SIGKILL);
            (void)end();
        }
    }

    // Exit status, or 1000 + the signal.
    int end() {
        int status = 0;
        ::waitpid(std::exchange(pid, -1), &status, 0);
        return WIFSIGNALED(status) ? 1000 + WTERMSIG(status) : WEXITSTATUS(status);
    }

    // Until it ends or says nothing more can come.
    std::string errors() {
        std::string text;
        std::array<char, 512> block{};
        for (ssize_t count = 0; (count = ::read(m_errors.get(), block.data(), block.size())) > 0;)
            text.append(block.data(), static_cast<std::size_t>(count));
        return text;
    }

    [[nodiscard]] std::string file(const std::string& name) const {
        std::ifstream stream("/proc/" + std::to_string(pid) + "/" + name, std::ios::binary);
        std::ostringstream text;
        text << stream.rdbuf();
        return text.str();
    }
    [[nodiscard]] std::string link(const std::string& name) const {
        std::error_code error;
        return fs::read_symlink("/proc/" + std::to_string(pid) + "/" + name, error).string();
    }

    pid_t pid = -1;
    Descriptor socket;

private:
    Descriptor m_errors;
};

int tried(const char* trial) {
    return Started(LUMIVERT_TRIAL, trial).end();
}

class Confinement : public testing::Test {
protected:
    void SetUp() override {
#if defined(LUMIVERT_SANITIZED)
        GTEST_SKIP() << "a sanitizer's reports need what the walls forbid";
#endif
    }
};

TEST_F(Confinement, standsInNobodysWayWhereItIsNotMeant) {
    const ScopedEnvironment unconfined("UNCONFINED", "1");
    for (const char* trial :
         {"nothing", "thread", "read", "list", "stat", "socket", "fork", "exec", "memfd"})
        EXPECT_EQ(tried(trial), 0) << trial << ": the trial itself does not work";
}

TEST_F(Confinement, letsThreadsStart) {
    EXPECT_EQ(tried("nothing"), 0);
    EXPECT_EQ(tried("thread"), 0);
}

TEST_F(Confinement, letsNothingBeOpened) {
    for (const char* trial : {"read", "write", "list", "stat"})
        EXPECT_EQ(tried(trial), EACCES) << trial;
}

TEST_F(Confinement, killsWhoeverTriesToGetOut) {
    for (const char* trial : {"unlink", "connect", "socket", "fork", "vfork", "exec", "kill",
                              "trace", "memfd", "namespace", "sendElsewhere"})
        EXPECT_EQ(tried(trial), 1000 + SIGSYS) << trial;
    EXPECT_NE(tried("spawn"), 0);
}

TEST_F(Confinement, keepsMemoryWithinWhatThePhotoStates) {
    const auto limit = std::min(2 * gibibyte, halfOfMachine()) >> 26;
    EXPECT_LE(tried("eat"), static_cast<int>(limit));
    const auto widened = std::min(4 * gibibyte, halfOfMachine()) >> 26;
    const int eaten = tried("eatAfterPhoto");
    EXPECT_LE(eaten, static_cast<int>(widened));
    EXPECT_GT(eaten, static_cast<int>(widened / 2));
    EXPECT_EQ(tried("limits"), EPERM);
    EXPECT_EQ(tried("growFile"), 1000 + SIGXFSZ);
}

TEST_F(Confinement, refusesAPhotoWhosePixelsWouldTakeHalfOfTheMachine) {
    EXPECT_NO_THROW(allowPhoto({1000, 1000}, 8));
    EXPECT_NO_THROW(allowPhoto({65536, 65536}, 0));
    EXPECT_THROW(allowPhoto({65536, 65536}, (halfOfMachine() >> 32) + 1), std::runtime_error);
    EXPECT_THROW(allowPhoto({0, 5}, 1), std::runtime_error);
}

// What a line such as "Seccomp:\t2" says.
std::string field(const std::string& text, const std::string& name) {
    const auto at = text.find(name);
    if (at == std::string::npos)
        return "none";
    const auto from = text.find_first_not_of(" \t", at + name.size());
    return text.substr(from, text.find_first_of(" \n", from) - from);
}

bool canHaveANetworkOfItsOwn() {
    return inChild([] { return ::unshare(CLONE_NEWUSER | CLONE_NEWNET); }) == 0;
}

TEST_F(Confinement, canBeReadOffTheSystem) {
    const ScopedEnvironment secret("LUMIVERT_SECRET", "of the user");
    const Started decoder(LUMIVERT_DECODER);
    std::string status;
    for (int i = 0; i < 500 && field(status, "Threads:") != "2"; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        status = decoder.file("status");
    }
    ASSERT_EQ(field(status, "Threads:"), "2") << "it waits, and watches for its peer";
    for (const auto& task :
         fs::directory_iterator("/proc/" + std::to_string(decoder.pid) + "/task")) {
        const std::string own = decoder.file("task/" + task.path().filename().string() + "/status");
        EXPECT_EQ(field(own, "NoNewPrivs:"), "1");
        EXPECT_EQ(field(own, "Seccomp:"), "2");
        for (const char* set : {"CapInh:", "CapPrm:", "CapEff:", "CapAmb:"})
            EXPECT_EQ(field(own, set), "0000000000000000") << set;
    }
    EXPECT_EQ(decoder.file("environ").find_first_not_of('\0'), std::string::npos);
    EXPECT_EQ(decoder.link("cwd"), "/");
    if (canHaveANetworkOfItsOwn()) {
        EXPECT_NE(decoder.link("ns/net"), fs::read_symlink("/proc/self/ns/net").string());
    }

    std::map<int, std::string> open;
    for (const auto& fd : fs::directory_iterator("/proc/" + std::to_string(decoder.pid) + "/fd"))
        open[std::stoi(fd.path().filename())] = fs::read_symlink(fd.path()).string();
    EXPECT_EQ(open.size(), 6u) << testing::PrintToString(open);
    EXPECT_EQ(open[2], "/dev/null");
    EXPECT_THAT(open[3], testing::HasSubstr("socket:"));
    EXPECT_THAT(open[4], testing::HasSubstr("(deleted)")) << "where turned pixels go";
    EXPECT_THAT(open[5], testing::HasSubstr("memfd:")) << "what it answers with";

    const std::string limits = decoder.file("limits");
    const auto soft = [&](const char* name) { return field(limits, name); };
    EXPECT_EQ(soft("Max data size"), std::to_string(std::min(2 * gibibyte, halfOfMachine())));
    EXPECT_NE(soft("Max address space"), "unlimited");
    EXPECT_EQ(soft("Max cpu time"), "60");
    EXPECT_EQ(soft("Max file size"), std::to_string(2 * gibibyte));
    EXPECT_EQ(soft("Max core file size"), "0");
    EXPECT_EQ(soft("Max open files"), "32");
    if (canHaveANetworkOfItsOwn()) {
        EXPECT_NE(soft("Max processes"),
                  field(Started("/bin/cat").file("limits"), "Max processes"));
    }
}

// As a kernel answers that was built without them.
bool takeAwayLandlockAndSeccomp() {
    const auto refused = [](std::uint32_t call) {
        return std::array<sock_filter, 2>{{BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1),
                                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS)}};
    };
    std::vector<sock_filter> code{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const std::uint32_t call : {SYS_landlock_create_ruleset, SYS_seccomp})
        for (const auto& step : refused(call))
            code.push_back(step);
    code.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])));
    for (const auto& step : refused(PR_SET_SECCOMP)) // prctl's; no other call here has it
        code.push_back(step);
    code.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(code.size()), code.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

bool loads(const std::string& bytes) {
    const TemporaryFolder folder;
    DecoderClient client({.path = LUMIVERT_DECODER, .screenEdge = [] { return 512; }});
    const auto image = client.decode(FileUrl::fromPath(folder.write("photo", bytes)));
    return image && image->bitmap()->rows(std::nullopt);
}

TEST_F(Confinement, isDoneWithoutWhereTheKernelKnowsNoneAndSaysSo) {
    const std::string png = saved(plain8({20, 10}, {1, 2, 3}), ".png");
    testing::internal::CaptureStderr();
    EXPECT_EQ(inChild([&] {
                  const TemporaryFolder folder;
                  const FileUrl photo = FileUrl::fromPath(folder.write("photo", png));
                  DecoderClient client({.path = LUMIVERT_DECODER, .screenEdge = [] { return 9; }});
                  return takeAwayLandlockAndSeccomp() && client.decode(photo) &&
                                 client.decode(photo)
                             ? 0
                             : 1;
              }),
              0);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said, "lumivert-decoder: no Landlock here; going on without\n"
                    "lumivert-decoder: no seccomp here; going on without\n");
}

bool isGone(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(stat), {}};
    const auto state = text.rfind(") ");
    return state == text.npos || text[state + 2] == 'Z';
}

TEST_F(Confinement, diesWithItsParentThoughItsSocketStaysOpen) {
    std::array<int, 2> ends{};
    std::array<int, 2> pipe{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
    const pid_t parent = ::fork();
    if (parent == 0) {
        const pid_t decoder = ::fork();
        if (decoder == 0) {
            ::dup2(ends[1], protocol::controlDescriptor);
            ::execl(LUMIVERT_DECODER, LUMIVERT_DECODER, nullptr);
            ::_exit(127);
        }
        (void)!::write(pipe[1], &decoder, sizeof decoder);
        ::pause();
    }
    pid_t decoder = 0;
    ASSERT_EQ(::read(pipe[0], &decoder, sizeof decoder), ssize_t{sizeof decoder});
    // It is in place when the thread that watches the socket is there.
    const auto threads = [&] {
        const auto tasks = fs::directory_iterator("/proc/" + std::to_string(decoder) + "/task");
        return std::distance(begin(tasks), end(tasks));
    };
    for (int i = 0; i < 500 && threads() < 2; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(isGone(decoder));
    ::kill(parent, SIGKILL);
    ::waitpid(parent, nullptr, 0);
    for (int i = 0; i < 250 && !isGone(decoder); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(isGone(decoder));
    for (const int fd : {ends[0], ends[1], pipe[0], pipe[1]})
        ::close(fd);
}

TEST_F(Confinement, saysNothingWhereAllWallsStand) {
    Started decoder(LUMIVERT_DECODER);
    decoder.socket.reset();
    EXPECT_EQ(decoder.errors(), "");
    EXPECT_EQ(decoder.end(), 0);
}

TEST_F(Confinement, leavesEveryFormatReadable) {
    const vips::VImage photo = image8({300, 200}, 3, [](int x, int y, int band) {
        return band == 0 ? x % 256 : band == 1 ? y : (x + y) % 256;
    });
    const auto set = [](const char* name, int value) {
        return vips::VImage::option()->set(name, value);
    };
    std::map<std::string, std::string> files{
        {"JPEG", saved(photo, ".jpg")},
        {"progressive JPEG", saved(photo, ".jpg", set("interlace", 1))},
        {"PNG", saved(photo, ".png")},
        {"interlaced PNG", saved(photo, ".png", set("interlace", 1))},
        {"PNG of 16 bits", saved(photo.cast(VIPS_FORMAT_USHORT) * 256, ".png")},
        {"WebP", saved(photo, ".webp")},
        {"JPEG XL", saved(photo, ".jxl")},
        {"JPEG 2000", saved(photo, ".jp2")},
        {"GIF", saved(photo, ".gif")},
        {"TIFF", saved(photo, ".tif")},
        {"TIFF, deflated",
         saved(photo, ".tif", set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE))},
        {"TIFF of JPEG",
         saved(photo, ".tif", set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_JPEG))},
        {"TIFF of tiles", saved(photo, ".tif", set("tile", 1))},
        {"DNG", lumivert::test::SensorPhoto{.width = 64,
                                            .height = 48,
                                            .light =
                                                [](int, int) {
                                                    return std::array{0.5, 0.5, 0.5};
                                                }}
                    .bytes()}};
    for (const auto compression :
         {VIPS_FOREIGN_HEIF_COMPRESSION_HEVC, VIPS_FOREIGN_HEIF_COMPRESSION_AV1})
        try {
            files[compression == VIPS_FOREIGN_HEIF_COMPRESSION_HEVC ? "HEIC" : "AVIF"] =
                saved(photo, ".heif", set("compression", compression));
        } catch (const vips::VError&) {
            std::cout << "no encoder for one of HEIC and AVIF\n";
        }
    for (const auto& [name, bytes] : files)
        EXPECT_TRUE(loads(bytes)) << name;
}

TEST_F(Confinement, endsALoadThatTakesLongerThanItMay) {
    const std::string file = saved(plain8({400, 300}, {9}).zoom(20, 20), ".png",
                                   vips::VImage::option()->set("interlace", 1));
    const auto photo = sealedCopyOf(asBytes(file));
    ASSERT_TRUE(photo);
    // Once it works on the photo it is held up, as a photo would that takes forever. It may have
    // answered before this test got to stop it; then another one is tried.
    for (int attempt = 0; attempt < 20; ++attempt) {
        Started decoder(LUMIVERT_DECODER);
        protocol::Request request;
        request.screenEdge = 512;
        const int descriptor = photo->get();
        ASSERT_TRUE(sendPacket(decoder.socket.get(), std::as_bytes(std::span(&request, 1)),
                               {&descriptor, 1}));
        pollfd answer{decoder.socket.get(), POLLIN, 0};
        while (field(decoder.file("status"), "Threads:") < "3" && ::poll(&answer, 1, 2) == 0)
            ;
        ::kill(decoder.pid, SIGSTOP);
        if (::poll(&answer, 1, 0) != 0)
            continue;
        std::this_thread::sleep_for(std::chrono::seconds(loadSeconds + 1));
        ::kill(decoder.pid, SIGCONT);
        EXPECT_EQ(decoder.end(), 1000 + SIGALRM);
        return;
    }
    FAIL() << "never stopped before its answer";
}

} // namespace
} // namespace lumivert::decoder
