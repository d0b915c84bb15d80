#include "decoder/Confinement.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace lumivert::decoder {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool limitsMemory = false;
#else
constexpr bool limitsMemory = true;
#endif

void limit(decltype(RLIMIT_CORE) resource, rlim_t value) {
    const rlimit both{value, value};
    ::setrlimit(resource, &both);
}

} // namespace

void limitResources() {
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NOFILE, 256);
    if (!limitsMemory)
        return;
    const auto machine = static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
                         static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    constexpr std::uint64_t gibibyte = std::uint64_t{1} << 30;
    // Private memory that can be written; mappings of the photo and of files do not count.
    limit(RLIMIT_DATA, std::clamp(machine / 2, 2 * gibibyte, 16 * gibibyte));
}

void endWithPeer(int socket) {
    std::thread([socket] {
        pollfd entry{socket, POLLRDHUP, 0};
        while (::poll(&entry, 1, -1) < 0 && errno == EINTR) {
        }
        ::_exit(0);
    }).detach();
}

} // namespace lumivert::decoder
