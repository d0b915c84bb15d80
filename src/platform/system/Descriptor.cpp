#include "platform/system/Descriptor.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <limits>
#include <poll.h>
#include <sys/eventfd.h>

namespace lumivert {
namespace {

int endEvent = -1;

} // namespace

bool writeAll(int fd, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written =
            retryingInterrupts([&] { return ::write(fd, bytes.data(), bytes.size()); });
        if (written <= 0)
            return false;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

bool readToEnd(int fd, std::string& bytes) {
    std::array<char, 65536> buffer{};
    while (true) {
        const ssize_t count =
            retryingInterrupts([&] { return ::read(fd, buffer.data(), buffer.size()); });
        if (count <= 0)
            return count == 0;
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

bool waitReadable(int fd, std::chrono::steady_clock::time_point deadline) {
    using namespace std::chrono;
    std::array<pollfd, 2> entries{{{fd, POLLIN, 0}, {endEvent, POLLIN, 0}}};
    const int ready = retryingInterrupts([&] {
        const auto left = ceil<milliseconds>(deadline - steady_clock::now()).count();
        return ::poll(
            entries.data(), entries.size(),
            static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max())));
    });
    return ready > 0 && entries[1].revents == 0;
}

int endInOrderOnSignals() {
    endEvent = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (endEvent < 0)
        return -1;
    struct sigaction action = {};
    action.sa_handler = [](int) {
        const int error = errno;
        (void)::eventfd_write(endEvent, 1);
        errno = error;
    };
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signal, &action, nullptr);
    return endEvent;
}

bool isEnding() {
    pollfd entry{endEvent, POLLIN, 0};
    return ::poll(&entry, 1, 0) > 0;
}

} // namespace lumivert
