#pragma once

namespace lumivert {

/// From here on the first SIGTERM, SIGINT or SIGHUP kills every child of this process and lets none
/// be started (ChildProcess::killAll), so that nothing holds the main thread up, and makes the
/// descriptor that is returned readable, for the event loop to end by. A second one of its kind
/// ends the process at once. -1 where the system gives no descriptor; then nothing has changed.
/// Once.
[[nodiscard]] int endInOrderOnSignals();

} // namespace lumivert
