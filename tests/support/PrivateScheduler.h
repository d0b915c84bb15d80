#pragma once

#include "platform/system/Descriptor.h"
#include "support/ScopedEnvironment.h"
#include "support/TemporaryFolder.h"

#include <chrono>
#include <deque>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace lumivert {

/// A real CUPS scheduler for one test: its own files in a temporary folder, a socket file instead
/// of a port, neither announced nor known to the system's scheduler, which may run beside it. For
/// root and for ordinary users. At its end, and also when the test's process dies, it is stopped
/// and its folder removed.
///
/// Its queues print into a file each. Every failure throws std::runtime_error with the scheduler's
/// or the tool's words; so does a machine without /usr/sbin/cupsd.
class PrivateScheduler {
public:
    /// Returns when it takes requests.
    PrivateScheduler();
    ~PrivateScheduler();
    PrivateScheduler(const PrivateScheduler&) = delete;
    PrivateScheduler& operator=(const PrivateScheduler&) = delete;

    /// A queue, enabled and accepting. The tools know it from the PPD at `ppdFile` on.
    void addQueue(const std::string& queue, const std::string& ppdFile = photoPpd());
    /// A queue without a driver, for the printer at `uri`; the scheduler asks it for its abilities.
    void addDriverlessQueue(const std::string& queue, const std::string& uri);
    void removeQueue(const std::string& queue);
    /// Sets an option of the queue itself (lpadmin(8), -o), for example a PPD keyword's default.
    void setOption(const std::string& queue, const std::string& name, const std::string& value);
    void setDefaultQueue(const std::string& queue);

    /// Waits until the queue has no job left and gives the file that the last one left behind,
    /// which goes with that: a queue prints into the same file each time. Nothing when no job left
    /// one, or when jobs are still there at the deadline.
    [[nodiscard]] std::optional<std::string>
    takeOutput(const std::string& queue,
               std::chrono::milliseconds deadline = std::chrono::seconds(60));

    /// Where the scheduler keeps the PPDs of its queues, with a slash at the end.
    [[nodiscard]] std::string ppdFolder() const { return m_folder / "root/ppd/"; }
    [[nodiscard]] const std::string& folder() const { return m_folder.path(); }
    [[nodiscard]] pid_t pid() const { return m_scheduler; }
    /// What it wrote into its error log.
    [[nodiscard]] std::string log() const { return m_folder.read("log/error_log"); }

    struct Variable {
        std::string name;
        std::optional<std::string> value;
    };
    /// What CUPS's tools need in their environment to talk to this scheduler and to nothing else.
    /// HOME is among it: the user's own lpoptions would otherwise have a say.
    [[nodiscard]] std::vector<Variable> environment() const;

    /// A photo printer that takes PDF as it comes: A4, A4.Fullbleed, A3, Letter, 4x6 and
    /// 4x6.Fullbleed, media types Glossy and Plain.
    [[nodiscard]] static std::string photoPpd();
    /// A photo printer whose driver takes CUPS raster, a pixel a point: 4x6 without margins, media
    /// type Glossy; the option ColorModel sets the pixels: RGB, Gray or CMYK of 8 bits.
    [[nodiscard]] static std::string rasterPpd();

private:
    void writeConfiguration() const;
    void start();
    void waitUntilItTakesRequests() const;
    void stop();
    [[nodiscard]] std::string outputFile(const std::string& queue) const;
    /// Runs a tool of CUPS against this scheduler and gives what it printed.
    std::string runTool(const std::string& tool, std::vector<std::string> arguments) const;

    TemporaryFolder m_folder;
    /// The keeper stops the scheduler when this end closes, whatever closes it.
    Descriptor m_lifeline;
    pid_t m_keeper = 0;
    pid_t m_scheduler = 0;
};

/// Puts the scheduler's environment into this process's for the scope, for code under test that
/// runs the tools itself. Only while no other thread reads the environment.
class SchedulerEnvironment {
public:
    explicit SchedulerEnvironment(const PrivateScheduler& scheduler) {
        for (const auto& [name, value] : scheduler.environment())
            m_variables.emplace_back(name, value);
    }

private:
    std::deque<ScopedEnvironment> m_variables;
};

} // namespace lumivert
