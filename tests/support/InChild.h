#pragma once

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lumivert {

/// Runs `check` in a forked child, where it may change what it likes about the process, and gives
/// back what it returned: 0 to 125 by convention, 0 for success; 128 + the signal for a crash.
template <class Check>
int inChild(Check check) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(check());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

/// The same as a user to whom permissions apply: for root in its place, "nobody".
template <class Check>
int inChildAsOrdinaryUser(Check check) {
    return inChild([&] {
        constexpr unsigned nobody = 65534;
        if (::geteuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0))
            return 126;
        return check();
    });
}

} // namespace lumivert
