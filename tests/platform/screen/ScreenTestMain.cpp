#include <QApplication>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// A virtual X server of its own, for as long as it lives; DISPLAY names it.
class VirtualServer {
public:
    VirtualServer() {
        std::array<int, 2> ready{};
        if (::pipe(ready.data()) != 0)
            return;
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL); // also when a test crashes
            const std::string descriptor = std::to_string(ready[1]);
            ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
            ::execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0",
                     "1200x900x24", "-nolisten", "tcp", nullptr);
            ::_exit(127);
        }
        ::close(ready[1]);
        // The number and the end of its line come apart.
        std::string number;
        for (char next = 0; ::read(ready[0], &next, 1) == 1 && next != '\n';)
            number += next;
        ::close(ready[0]);
        isUp = !number.empty();
        if (isUp)
            ::setenv("DISPLAY", (":" + number).c_str(), 1);
    }
    ~VirtualServer() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGTERM);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    VirtualServer(const VirtualServer&) = delete;
    VirtualServer& operator=(const VirtualServer&) = delete;

    bool isUp = false;

private:
    pid_t m_pid = -1;
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const VirtualServer server;
    if (!server.isUp) {
        std::cerr << "Xvfb does not start\n";
        return 1;
    }
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
