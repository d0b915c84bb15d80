#pragma once

#include "platform/UpdateEngine.h"

#include <functional>
#include <variant>

namespace lumivert {

struct UpdateChecking {
    UpdateProgress progress;
    bool operator==(const UpdateChecking&) const = default;
};

struct UpdateInstalling {
    std::string version;
    UpdateProgress progress;
    bool operator==(const UpdateInstalling&) const = default;
};

struct UpdateFailed {
    bool installing = false; ///< failed while installing, not while checking
    UpdateFailure failure;
    bool operator==(const UpdateFailed&) const = default;
};

/// What the update window shows.
using UpdateState = std::variant<UpdateChecking, UpdateNotNeeded, AvailableUpdate, UpdateInstalling,
                                 UpdateInstalled, UpdateFailed>;

/// The one window about updates. Main thread.
class UpdateWindow {
public:
    enum class Attention {
        keep,    ///< shows the state where the window is; a closed window stays closed
        quiet,   ///< opens the window, but takes neither keyboard nor default button
        toFront, ///< opens the window, or brings the open one to the front
    };

    /// What a person can do in the window. `dismiss` is whatever closes it: Cancel while checking,
    /// Later, Close, the Escape key, the window's own close button. The window does not close by
    /// itself.
    struct Actions {
        std::function<void()> install;
        std::function<void()> dismiss;
    };

    virtual ~UpdateWindow() = default;

    /// Called once, before the first state. The actions may call the window.
    virtual void setActions(Actions actions) = 0;
    virtual void present(const UpdateState& state, Attention attention) = 0;
    virtual void close() = 0;
    [[nodiscard]] virtual bool isOpen() const = 0;
};

} // namespace lumivert
