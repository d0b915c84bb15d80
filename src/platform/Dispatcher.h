#pragma once

#include <chrono>
#include <functional>

namespace lumivert {

/// Runs tasks later. Any thread.
class Dispatcher {
public:
    virtual ~Dispatcher() = default;

    /// Runs `task` on the main thread, on a later turn of its event loop, in the order given.
    virtual void asyncOnMain(std::function<void()> task) = 0;

    /// Runs `task` on a background thread after `delay`. Tasks that still wait when the program
    /// ends run then, at once.
    virtual void asyncInBackground(std::chrono::milliseconds delay, std::function<void()> task) = 0;
};

} // namespace lumivert
