#include "platform/cups/PrintSystemFiles.h"

#include "platform/posix/PosixFunctions.h"
#include "support/InChild.h"
#include "support/PrivateScheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <atomic>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>

namespace lumivert {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using testing::Optional;

/// On a thread of its own: libcups looks at the environment once a thread.
std::optional<std::string> readPpd(const std::string& queue) {
    std::optional<std::string> ppd;
    std::thread([&] {
        ppd = PrintSystemFiles().readFile("/etc/cups/ppd/" + queue + ".ppd");
    }).join();
    return ppd;
}

class SchedulersPpd : public testing::Test {
protected:
    /// What the scheduler itself has on disk.
    [[nodiscard]] std::string stored(const std::string& queue) const {
        std::ifstream file(scheduler.ppdFolder() + queue + ".ppd", std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// A queue whose PPD is the photo printer's with `more` behind it.
    void addQueueWith(const std::string& queue, const std::string& more) {
        std::ifstream photo(PrivateScheduler::photoPpd(), std::ios::binary);
        const std::string ppd{std::istreambuf_iterator<char>(photo), {}};
        scheduler.addQueue(queue, work.write("more.ppd", ppd + more));
    }

    TemporaryFolder work;
    PrivateScheduler scheduler;
    SchedulerEnvironment environment{scheduler};
};

TEST_F(SchedulersPpd, isReadByAUserWhomTheFolderKeepsOut) {
    scheduler.addQueue("Photo_A3");
    const auto file = scheduler.ppdFolder() + "Photo_A3.ppd";
    const auto expected = stored("Photo_A3");
    ASSERT_FALSE(expected.empty());
    std::filesystem::permissions(file, std::filesystem::perms(0600));
    EXPECT_EQ(inChildAsOrdinaryUser([&] {
                  if (::getuid() == 65534 && PosixFileSystem().readFile(file))
                      return 1;
                  return readPpd("Photo_A3") == expected ? 0 : 2;
              }),
              0);
}

TEST_F(SchedulersPpd, arrivesWholeWhenLarge) {
    std::string more;
    while (more.size() < 20'000'000)
        more += "*% A comment of no meaning, as long as a line of a PPD may well become.\n";
    addQueueWith("Large", more);
    const auto ppd = readPpd("Large");
    ASSERT_TRUE(ppd);
    EXPECT_GT(ppd->size(), 20'000'000U);
    EXPECT_TRUE(*ppd == stored("Large"));
}

TEST_F(SchedulersPpd, isBytesAndNotText) {
    addQueueWith("Latin", "*% Gr\xf6\xdf"
                          "e\r\n");
    const auto ppd = readPpd("Latin");
    ASSERT_TRUE(ppd);
    EXPECT_NE(ppd->find("\xf6\xdf"), std::string::npos);
    EXPECT_TRUE(*ppd == stored("Latin"));
}

TEST_F(SchedulersPpd, isFoundUnderAnOddName) {
    for (const char* queue : {"Büro_2", "a%20b", "50%", "a+b&c=d", "A.ppd", "[x]~", "写真"}) {
        const auto added =
            runProcess("/usr/sbin/lpadmin", {"-p", queue, "-E", "-v", "file:///dev/null", "-P",
                                             PrivateScheduler::photoPpd()});
        ASSERT_EQ(std::get<ProcessOutcome>(added).exitStatus, 0) << queue;
        const auto ppd = readPpd(queue);
        ASSERT_TRUE(ppd) << queue;
        EXPECT_TRUE(*ppd == stored(queue)) << queue;
    }
}

TEST_F(SchedulersPpd, isMissingWhereItIsMissingAtBothPlaces) {
    EXPECT_EQ(readPpd("Photo_A3"), std::nullopt);
    const auto raw = runProcess("/usr/sbin/lpadmin", {"-p", "Raw", "-E", "-v", "file:///dev/null"});
    ASSERT_EQ(std::get<ProcessOutcome>(raw).exitStatus, 0);
    EXPECT_EQ(readPpd("Raw"), std::nullopt);
}

/// A server on loopback that the CUPS tools' environment names, and what it does with a client.
class OddScheduler {
public:
    explicit OddScheduler(std::function<void(int client)> answer)
        : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* plain = reinterpret_cast<sockaddr*>(&address);
        if (::bind(m_listener.get(), plain, size) != 0 || ::listen(m_listener.get(), 4) != 0 ||
            ::getsockname(m_listener.get(), plain, &size) != 0)
            throw std::runtime_error("no server");
        m_environment.emplace("CUPS_SERVER",
                              "127.0.0.1:" + std::to_string(ntohs(address.sin_port)));
        m_thread = std::jthread([this, answer = std::move(answer)](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                pollfd waiting{m_listener.get(), POLLIN, 0};
                if (::poll(&waiting, 1, 20) != 1)
                    continue;
                const Descriptor client(
                    ::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
                ++clients;
                answer(client.get());
            }
        });
    }

    std::atomic<int> clients = 0;

private:
    Descriptor m_listener;
    std::optional<ScopedEnvironment> m_environment;
    std::jthread m_thread;
};

void sendText(int client, const std::string& text) {
    std::array<char, 4096> request{};
    (void)::recv(client, request.data(), request.size(), 0);
    (void)::send(client, text.data(), text.size(), MSG_NOSIGNAL);
}

void sleepUntilClosed(int client, std::chrono::seconds most) {
    std::array<char, 4096> ignored{};
    for (const auto end = Clock::now() + most; Clock::now() < end;) {
        pollfd waiting{client, POLLIN, 0};
        if (::poll(&waiting, 1, 100) == 1 && ::recv(client, ignored.data(), ignored.size(), 0) <= 0)
            return;
    }
}

std::chrono::duration<double> timeOf(const std::function<void()>& task) {
    const auto start = Clock::now();
    task();
    return Clock::now() - start;
}

TEST(OddSchedulers, areAskedForPpdsOnly) {
    OddScheduler scheduler(
        [](int client) { sendText(client, "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nppd"); });
    for (const std::string path :
         {"/etc/cups/ppd/a/Q.ppd", "/etc/cups/ppd/.ppd", "/etc/cups/ppd/Q.txt", "/etc/cups/ppd/",
          "/etc/cups/Q.ppd", "/nonexistent/etc/cups/ppd/Q.ppd", "etc/cups/ppd/Q.ppd",
          "/etc/cups/ppd/Q?x.ppd", "/etc/cups/ppd/Q#x.ppd"})
        EXPECT_EQ(PrintSystemFiles().readFile(path), std::nullopt) << path;
    EXPECT_EQ(readPpd(std::string("Q\0", 2)), std::nullopt);
    EXPECT_EQ(scheduler.clients, 0);
    EXPECT_THAT(readPpd("Q"), Optional(std::string("ppd")));
}

TEST(OddSchedulers, areNotAnsweredWithAPassword) {
    OddScheduler scheduler([](int client) {
        sendText(client, "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"CUPS\"\r\n"
                         "Content-Length: 0\r\n\r\n");
    });
    EXPECT_EQ(readPpd("Q"), std::nullopt);
    EXPECT_EQ(scheduler.clients, 1);
}

TEST(OddSchedulers, thatAnswerHalfGiveNothing) {
    OddScheduler scheduler([](int client) {
        sendText(client, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n*PPD-Adobe");
    });
    EXPECT_EQ(readPpd("Q"), std::nullopt);
}

TEST(OddSchedulers, thatDoNotRunGiveNothingAtOnce) {
    const ScopedEnvironment none("CUPS_SERVER", "/nonexistent/socket");
    EXPECT_LT(timeOf([] { EXPECT_EQ(readPpd("Q"), std::nullopt); }).count(), 4);
}

TEST(OddSchedulers, thatStopAreGivenUpAfterFiveSeconds) {
    for (const std::string start :
         {"", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n*PPD-Adobe"}) {
        OddScheduler scheduler([&](int client) {
            sendText(client, start);
            sleepUntilClosed(client, 60s);
        });
        const auto seconds = timeOf([] { EXPECT_EQ(readPpd("Q"), std::nullopt); }).count();
        EXPECT_GT(seconds, 4.5) << start;
        EXPECT_LT(seconds, 30) << start;
    }
}

TEST(OddSchedulers, thatNeverEndAreGivenUp) {
    for (const auto pause : {0ms, 50ms}) {
        OddScheduler scheduler([&](int client) {
            sendText(client, "HTTP/1.1 200 OK\r\nContent-Length: 2000000000\r\n\r\n");
            const std::string piece(pause == 0ms ? 65536 : 10, 'x');
            while (::send(client, piece.data(), piece.size(), MSG_NOSIGNAL) > 0)
                std::this_thread::sleep_for(pause);
        });
        EXPECT_LT(timeOf([] { EXPECT_EQ(readPpd("Q"), std::nullopt); }).count(), 30);
    }
}

} // namespace
} // namespace lumivert
