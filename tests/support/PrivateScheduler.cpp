#include "support/PrivateScheduler.h"

#include "platform/posix/PosixFunctions.h"

#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>

namespace lumivert {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr const char* schedulerProgram = "/usr/sbin/cupsd";

// No access control: only who can enter the folder reaches the socket.
constexpr const char* schedulerConfiguration = R"(Listen @/socket
Browsing No
BrowseLocalProtocols none
DefaultShared No
WebInterface No
ErrorPolicy abort-job
LogLevel debug
MaxLogSize 0
<Location />
  Order allow,deny
  Allow all
</Location>
<Policy default>
  JobPrivateAccess default
  JobPrivateValues none
  SubscriptionPrivateAccess default
  SubscriptionPrivateValues none
  <Limit All>
    Order allow,deny
    Allow all
  </Limit>
</Policy>
)";

// TempDir stands inside RequestRoot because there the scheduler itself opens it to its filters,
// which it runs as user lp when it is root.
constexpr const char* filesConfiguration = R"(FileDevice Yes
ConfigFilePerm 0644
LogFilePerm 0644
ServerRoot @/root
RequestRoot @/spool
TempDir @/spool/tmp
CacheDir @/cache
StateDir @/state
AccessLog @/log/access_log
ErrorLog @/log/error_log
PageLog @/log/page_log
Printcap
)";

// $1 is the folder. The scheduler runs from a copy of its program: a confinement that is tied to
// the program's path (AppArmor) would keep it out of the folder; where the folder lies on a file
// system without execution, from the original. `read` returns when the test has ended, or died.
constexpr const char* keeperScript = R"(
server=$1/cupsd
cp "$2" "$server"
[ -x "$server" ] || server=$2
env -i PATH=/usr/bin:/bin DBUS_SYSTEM_BUS_ADDRESS="unix:path=$1/no-bus" \
    "$server" -f -c "$1/cupsd.conf" -s "$1/cups-files.conf" </dev/null &
echo "$!" >"$1/pid.new"
mv "$1/pid.new" "$1/pid"
read -r _
kill "$!"
wait "$!"
rm -rf "$1"
)";

std::string withFolder(std::string text, const std::string& folder) {
    for (auto at = text.find('@'); at != std::string::npos; at = text.find('@', at))
        text.replace(at, 1, folder);
    return text;
}

template <class Condition>
bool waitUntil(std::chrono::milliseconds deadline, Condition holds) {
    for (const auto end = Clock::now() + deadline; !holds();) {
        if (Clock::now() > end)
            return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

bool takesConnections(const std::string& socketFile) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketFile.c_str(), sizeof address.sun_path - 1);
    const Descriptor client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    return ::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
           0;
}

/// A session of its own keeps the terminal's interrupts away: it outlives the test to clean up.
pid_t spawnKeeper(const std::string& folder, int lifeline) {
    posix_spawnattr_t attributes = {};
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    posix_spawn_file_actions_t actions = {};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, lifeline, 0);
    const std::string output = folder + "/log/output";
    ::posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT, 0644);
    ::posix_spawn_file_actions_adddup2(&actions, 1, 2);
    ::posix_spawn_file_actions_addclosefrom_np(&actions, 3);

    std::vector<std::string> words = {"sh", "-c", keeperScript, "keeper", folder, schedulerProgram};
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (auto& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_t keeper = 0;
    const int error =
        ::posix_spawn(&keeper, "/bin/sh", &actions, &attributes, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
    if (error != 0)
        throw std::runtime_error("the scheduler's keeper does not start");
    return keeper;
}

} // namespace

PrivateScheduler::PrivateScheduler() {
    if (::access(schedulerProgram, X_OK) != 0)
        throw std::runtime_error(std::string(schedulerProgram) +
                                 " is missing (Debian package cups-daemon)");
    writeConfiguration();
    start();
    try {
        waitUntilItTakesRequests();
    } catch (...) {
        stop();
        throw;
    }
}

PrivateScheduler::~PrivateScheduler() {
    stop();
}

void PrivateScheduler::writeConfiguration() const {
    for (const char* name : {"root", "spool/tmp", "cache", "state", "log", "output", "home"})
        std::filesystem::create_directories(m_folder / name);
    m_folder.write("cupsd.conf", withFolder(schedulerConfiguration, folder()));
    m_folder.write("cups-files.conf", withFolder(filesConfiguration, folder()));
}

void PrivateScheduler::start() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe to the scheduler's keeper");
    const Descriptor keepersEnd(ends[0]);
    m_lifeline = Descriptor(ends[1]);
    m_keeper = spawnKeeper(folder(), keepersEnd.get());
    waitUntil(20s, [&] { return std::filesystem::exists(m_folder / "pid"); });
    m_scheduler = std::atoi(m_folder.read("pid").c_str());
}

void PrivateScheduler::waitUntilItTakesRequests() const {
    if (!waitUntil(20s, [&] { return takesConnections(m_folder / "socket"); }))
        throw std::runtime_error("the scheduler does not start: " + m_folder.read("log/output") +
                                 log());
}

void PrivateScheduler::stop() {
    m_lifeline.reset();
    const auto keeperEnded = [&] {
        return retryingInterrupts([&] { return ::waitpid(m_keeper, nullptr, WNOHANG); }) != 0;
    };
    if (waitUntil(20s, keeperEnded))
        return;
    // The keeper still waits for it, so that the number is still the scheduler's.
    if (m_scheduler > 0)
        ::kill(m_scheduler, SIGKILL);
    waitUntil(20s, keeperEnded);
}

void PrivateScheduler::addQueue(const std::string& queue, const std::string& ppdFile) {
    runTool("/usr/sbin/lpadmin",
            {"-p", queue, "-E", "-v", "file://" + outputFile(queue), "-P", ppdFile});
}

void PrivateScheduler::addDriverlessQueue(const std::string& queue, const std::string& uri) {
    runTool("/usr/sbin/lpadmin", {"-p", queue, "-E", "-v", uri, "-m", "everywhere"});
    // It answers before it has written the PPD.
    if (!waitUntil(20s, [&] { return std::filesystem::exists(ppdFolder() + queue + ".ppd"); }))
        throw std::runtime_error("the printer's abilities were not read: " + log());
}

void PrivateScheduler::removeQueue(const std::string& queue) {
    runTool("/usr/sbin/lpadmin", {"-x", queue});
}

void PrivateScheduler::setOption(const std::string& queue, const std::string& name,
                                 const std::string& value) {
    runTool("/usr/sbin/lpadmin", {"-p", queue, "-o", name + '=' + value});
}

void PrivateScheduler::setDefaultQueue(const std::string& queue) {
    runTool("/usr/sbin/lpadmin", {"-d", queue});
}

std::optional<std::string> PrivateScheduler::takeOutput(const std::string& queue,
                                                        std::chrono::milliseconds deadline) {
    const auto idle = [&] {
        return runTool("/usr/bin/lpstat", {"-W", "not-completed", "-o", queue}).empty();
    };
    const auto file = outputFile(queue);
    if (!waitUntil(deadline, idle) || !std::filesystem::exists(file))
        return std::nullopt;
    auto bytes = m_folder.read("output/" + queue);
    std::filesystem::remove(file);
    return bytes;
}

std::vector<PrivateScheduler::Variable> PrivateScheduler::environment() const {
    return {{"CUPS_SERVER", m_folder / "socket"},
            {"CUPS_SERVERROOT", m_folder / "root"},
            {"HOME", m_folder / "home"},
            {"CUPS_USER", std::nullopt},
            {"CUPS_ENCRYPTION", std::nullopt},
            {"IPP_PORT", std::nullopt},
            {"LPDEST", std::nullopt},
            {"PRINTER", std::nullopt}};
}

std::string PrivateScheduler::photoPpd() {
    return LUMIVERT_TEST_SUPPORT_FOLDER "/ppd/photo.ppd";
}

std::string PrivateScheduler::rasterPpd() {
    return LUMIVERT_TEST_SUPPORT_FOLDER "/ppd/raster.ppd";
}

std::string PrivateScheduler::outputFile(const std::string& queue) const {
    return m_folder / ("output/" + queue);
}

std::string PrivateScheduler::runTool(const std::string& tool,
                                      std::vector<std::string> arguments) const {
    std::vector<std::string> words;
    for (const auto& [name, value] : environment())
        if (value)
            words.push_back(name + '=' + *value);
        else
            words.insert(words.begin(), "--unset=" + name);
    words.push_back(tool);
    words.insert(words.end(), arguments.begin(), arguments.end());
    const auto result = runProcess("/usr/bin/env", words);
    const auto* outcome = std::get_if<ProcessOutcome>(&result);
    if (!outcome)
        throw std::runtime_error(std::get<LaunchFailure>(result).description);
    if (outcome->exitStatus != 0)
        throw std::runtime_error(tool + ": " + outcome->output);
    return outcome->output;
}

} // namespace lumivert
