#include "PrivateBus.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lumivert {

PrivateBus::PrivateBus() {
    std::string folder = (std::filesystem::temp_directory_path() / "lumivert-bus-XXXXXX").string();
    if (!::mkdtemp(folder.data()))
        throw std::runtime_error("no folder for the bus");
    m_folder = folder;
    const std::string socket = m_folder + "/socket";
    m_address = "unix:path=" + socket;
    const std::string configuration = m_folder + "/bus.conf";
    std::ofstream(configuration)
        << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN")"
           "\n \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
        << "<busconfig><listen>" << m_address << "</listen><auth>EXTERNAL</auth>"
        << R"(<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>)"
        << R"(<allow own="*"/><allow user="*"/></policy></busconfig>)";

    const std::string option = "--config-file=" + configuration;
    std::array<int, 2> ready{};
    if (::pipe2(ready.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe for the bus");
    m_pid = ::fork();
    if (m_pid == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);                   // also when the test crashes
        ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO); // it grumbles about limits
        ::dup2(ready[1], STDOUT_FILENO);
        ::execl("/usr/bin/dbus-daemon", "dbus-daemon", option.c_str(), "--nofork", "--nopidfile",
                "--nosyslog", "--print-address=1", nullptr);
        ::_exit(127);
    }
    ::close(ready[1]);
    // It prints its address once it listens; the socket file is there a moment earlier.
    std::array<char, 256> line{};
    const auto length = ::read(ready[0], line.data(), line.size());
    ::close(ready[0]);
    if (length <= 0)
        throw std::runtime_error("dbus-daemon did not start");
}

void PrivateBus::stop() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGCONT);
        ::kill(m_pid, SIGTERM);
        ::waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }
    std::filesystem::remove_all(m_folder);
}

void PrivateBus::pause() const {
    ::kill(m_pid, SIGSTOP);
    ::waitpid(m_pid, nullptr, WUNTRACED);
}

void PrivateBus::resume() const {
    ::kill(m_pid, SIGCONT);
}

} // namespace lumivert
