#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>

namespace lumivert {

enum class UpdateCheckKind {
    asked,     ///< a person waits for the answer; the system may ask for a password
    scheduled, ///< nobody waits: never a password prompt, nothing fetched on a metered network
};

/// A newer version of the program that may be installed.
struct AvailableUpdate {
    std::string id; ///< the engine's own name for it
    std::string installedVersion;
    std::string version;
    std::string changes; ///< what is new, plain text of several lines; may be empty
    bool operator==(const AvailableUpdate&) const = default;
};

enum class UpdateProblem {
    noNetwork,
    notAuthorized,
    noService,         ///< nothing on this system answers for updates
    serviceLost,       ///< it answered, then stopped
    notFromRepository, ///< this copy did not come from where updates are looked for
    sourcesUnreadable, ///< a repository could not be read, or is not signed
    untrusted,         ///< the new version is not signed by anyone the system trusts
    noSpace,
    busy,        ///< other software is being installed
    interrupted, ///< ended by somebody else
    other,
};

struct UpdateFailure {
    UpdateProblem problem = UpdateProblem::other;
    std::string details; ///< the service's own words; may be empty
    bool operator==(const UpdateFailure&) const = default;
};

struct UpdateNotNeeded {
    std::string installedVersion;
    bool operator==(const UpdateNotNeeded&) const = default;
};

/// The check was cancelled by `UpdateEngine::cancelCheck`.
struct UpdateCancelled {
    bool operator==(const UpdateCancelled&) const = default;
};

/// A scheduled check had better not run now: no network, or one that is paid for by volume.
struct UpdatePostponed {
    bool operator==(const UpdatePostponed&) const = default;
};

struct UpdateInstalled {
    std::string version;
    bool operator==(const UpdateInstalled&) const = default;
};

using UpdateCheckOutcome =
    std::variant<UpdateNotNeeded, AvailableUpdate, UpdateFailure, UpdateCancelled, UpdatePostponed>;
using UpdateInstallOutcome = std::variant<UpdateInstalled, UpdateFailure>;

enum class UpdateActivity {
    working,
    waitingForPermission,
    waitingForOthers, ///< other software is being installed
};

struct UpdateProgress {
    UpdateActivity activity = UpdateActivity::working;
    std::optional<int> percent; ///< 0 to 100; nothing while unknown
    bool operator==(const UpdateProgress&) const = default;
};

/// Finds and installs newer versions of this program. Main thread; nothing here waits. One piece of
/// work at a time: the next may start once the former has reported its outcome, also from within
/// that report. The outcome comes exactly once, on a later turn of the event loop, and nothing
/// after it; never after the engine was destroyed.
class UpdateEngine {
public:
    using OnProgress = std::function<void(const UpdateProgress&)>;

    virtual ~UpdateEngine() = default;

    virtual void check(UpdateCheckKind kind, OnProgress onProgress,
                       std::function<void(const UpdateCheckOutcome&)> onDone) = 0;

    /// Ends a running check, whose outcome is then `UpdateCancelled` on the next turn however slow
    /// the service; otherwise without effect. An installation is never cut off.
    virtual void cancelCheck() = 0;

    /// Installs what a check found. The system may ask for a password.
    virtual void install(const AvailableUpdate& update, OnProgress onProgress,
                         std::function<void(const UpdateInstallOutcome&)> onDone) = 0;
};

} // namespace lumivert
