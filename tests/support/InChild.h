#pragma once

#include <exception>
#include <grp.h>
#include <iostream>
#include <sys/wait.h>
#include <unistd.h>

namespace lumivert {

/// Runs `check` in a forked child, where it may change what it likes about the process, and gives
/// back what it returned: 0 to 125 by convention, 0 for success; 127 for an exception, 128 + the
/// signal for a crash.
template <class Check>
int inChild(Check check) {
    const pid_t child = ::fork();
    if (child == 0) {
        try {
            ::_exit(check());
        } catch (const std::exception& error) { // the test's frame would go on with it, twice
            std::cerr << error.what() << std::endl;
            ::_exit(127);
        }
    }
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
