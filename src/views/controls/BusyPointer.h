#pragma once

namespace lumivert {

/// Shows the wait pointer over every window of the program while it lives, from its construction
/// on, although the event loop does not run: the request is sent to the display server, and no
/// event is handled meanwhile. Nests. Needs the application object. Main thread.
class BusyPointer {
public:
    BusyPointer();
    ~BusyPointer();
    BusyPointer(const BusyPointer&) = delete;
    BusyPointer& operator=(const BusyPointer&) = delete;
};

} // namespace lumivert
