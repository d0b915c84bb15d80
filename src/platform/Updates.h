#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

// What the updater speaks of, and what it stands on. Main thread throughout.
namespace lumivert {

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

struct UpdateChecking {
    UpdateProgress progress;
    bool operator==(const UpdateChecking&) const = default;
};

struct UpdateNotNeeded {
    std::string installedVersion;
    bool operator==(const UpdateNotNeeded&) const = default;
};

/// A newer version of the program that may be installed.
struct AvailableUpdate {
    std::string id; ///< the engine's own name for it
    std::string installedVersion;
    std::string version;
    std::string changes; ///< what is new, plain text of several lines; may be empty
    bool operator==(const AvailableUpdate&) const = default;
};

struct UpdateInstalling {
    std::string version;
    UpdateProgress progress;
    bool operator==(const UpdateInstalling&) const = default;
};

struct UpdateInstalled {
    std::string version;
    bool operator==(const UpdateInstalled&) const = default;
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

struct UpdateFailed {
    UpdateProblem problem = UpdateProblem::other;
    std::string details;     ///< the service's own words; may be empty
    bool installing = false; ///< failed while installing, not while checking
    bool operator==(const UpdateFailed&) const = default;
};

/// The check was cancelled, or is a scheduled one that had better not run now: no network, or one
/// that is paid for by volume.
struct UpdateUnanswered {
    bool operator==(const UpdateUnanswered&) const = default;
};

/// How a check or an installation stands: under way in `UpdateChecking` and `UpdateInstalling`,
/// ended in all others.
using UpdateState = std::variant<UpdateChecking, UpdateNotNeeded, AvailableUpdate, UpdateInstalling,
                                 UpdateInstalled, UpdateFailed, UpdateUnanswered>;

enum class UpdateCheckKind {
    asked,     ///< a person waits for the answer; the system may ask for a password
    scheduled, ///< nobody waits: never a password prompt, nothing fetched on a metered network
};

/// Finds and installs newer versions of this program; nothing here waits. One piece of work at a
/// time: the next may start once the former has told its end, also from within that call.
class UpdateEngine {
public:
    virtual ~UpdateEngine() = default;

    /// Told how the work stands: how far it is, and its end exactly once, on a later turn of the
    /// event loop, with nothing after it; never once the engine was destroyed. Belongs to whoever
    /// uses the engine.
    std::function<void(const UpdateState&)> onState = [](const auto&) {};

    /// Tells each `UpdateChecking`, in the end one of `UpdateNotNeeded`, `AvailableUpdate`,
    /// `UpdateFailed` and `UpdateUnanswered`.
    virtual void check(UpdateCheckKind kind) = 0;

    /// Ends a running check, which is then unanswered on the next turn however slow the service;
    /// otherwise without effect. An installation is never cut off.
    virtual void cancelCheck() = 0;

    /// Installs what a check found. The system may ask for a password. Tells each
    /// `UpdateInstalling`, in the end `UpdateInstalled` or `UpdateFailed`.
    virtual void install(const AvailableUpdate& update) = 0;
};

/// The one window about updates.
class UpdateWindow {
public:
    enum class Attention {
        keep,    ///< shows the state where the window is; a closed window stays closed
        quiet,   ///< opens the window, but takes neither keyboard nor default button
        toFront, ///< opens the window, or brings the open one to the front
    };

    virtual ~UpdateWindow() = default;

    /// What a person can do in the window, for whoever uses it; they may call the window.
    /// Dismissing is whatever closes it: Cancel while checking, Later, Close, the Escape key, the
    /// window's own close button. The window does not close by itself.
    std::function<void()> onInstall = [] {};
    std::function<void()> onDismiss = [] {};

    /// Any state but `UpdateUnanswered`.
    virtual void present(const UpdateState& state, Attention attention) = 0;
    virtual void closeWindow() = 0;
    [[nodiscard]] virtual bool isOpen() const = 0;
};

/// Time and chance for scheduled work.
class UpdateClock {
public:
    /// A task that waits for its time: let go of, it does not run any more.
    using Alarm = std::shared_ptr<void>;

    virtual ~UpdateClock() = default;

    /// The time of day, which people and services set back and forth.
    [[nodiscard]] virtual std::chrono::sys_seconds now() = 0;

    /// Runs `task` once, from the event loop, not before `delay`. Time that the machine sleeps may
    /// not count. The task may let go of its alarm.
    [[nodiscard]] virtual Alarm after(std::chrono::milliseconds delay,
                                      std::function<void()> task) = 0;

    /// A random length between the two, both included.
    [[nodiscard]] virtual std::chrono::seconds randomBetween(std::chrono::seconds least,
                                                             std::chrono::seconds most) = 0;
};

} // namespace lumivert
