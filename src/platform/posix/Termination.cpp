#include "platform/posix/Termination.h"

#include "platform/system/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

namespace lumivert {
namespace {

int event = -1;

void end(int) {
    ChildProcess::killAll();
    const int error = errno;
    (void)::eventfd_write(event, 1);
    errno = error;
}

} // namespace

int endInOrderOnSignals() {
    event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (event < 0)
        return -1;
    struct sigaction action = {};
    action.sa_handler = end;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signal, &action, nullptr);
    return event;
}

} // namespace lumivert
