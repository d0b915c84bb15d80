#include "platform/cups/PrintSystemFiles.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cups/cups.h>
#include <dlfcn.h>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace lumivert {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds patience{5000};
constexpr double secondsBetweenLooks = 0.1;
constexpr std::size_t mostBytes = 64U << 20U;

constexpr std::string_view ppdFolder = "/etc/cups/ppd/";
constexpr std::string_view ppdEnding = ".ppd";

/// A function of libcups, by its name.
struct FromLibcups {
    const char* name;

    template <typename Function>
    operator Function*() const {
        static void* const library = ::dlopen("libcups.so.2", RTLD_NOW | RTLD_LOCAL);
        void* found = library ? ::dlsym(library, name) : nullptr;
        if (!found)
            throw std::runtime_error("no " + std::string(name));
        return reinterpret_cast<Function*>(found);
    }
};

/// Loaded when it is first needed, which is seldom: libcups comes with twenty libraries of its own,
/// 4 ms of each start.
struct Libcups {
    decltype(&::httpConnect2) connect = FromLibcups{"httpConnect2"};
    decltype(&::cupsServer) server = FromLibcups{"cupsServer"};
    decltype(&::ippPort) port = FromLibcups{"ippPort"};
    decltype(&::cupsEncryption) encryption = FromLibcups{"cupsEncryption"};
    decltype(&::httpSetTimeout) setTimeout = FromLibcups{"httpSetTimeout"};
    decltype(&::httpClearFields) clearFields = FromLibcups{"httpClearFields"};
    decltype(&::httpGet) get = FromLibcups{"httpGet"};
    decltype(&::httpUpdate) update = FromLibcups{"httpUpdate"};
    decltype(&::httpRead2) read = FromLibcups{"httpRead2"};
    decltype(&::httpGetRemaining) remaining = FromLibcups{"httpGetRemaining"};
    decltype(&::httpError) error = FromLibcups{"httpError"};
    decltype(&::httpClose) close = FromLibcups{"httpClose"};
};

/// Nothing for any path but /etc/cups/ppd/QUEUE.ppd. A queue's name holds none of "/?#".
std::optional<std::string> ppdResource(std::string_view path) {
    if (!path.starts_with(ppdFolder) || !path.ends_with(ppdEnding))
        return std::nullopt;
    path.remove_prefix(ppdFolder.size());
    if (path.size() <= ppdEnding.size() ||
        path.find_first_of(std::string_view("/?#\0", 4)) != std::string_view::npos)
        return std::nullopt;
    return "/printers/" + std::string(path);
}

int isInTime(http_t* /*http*/, void* deadline) {
    return Clock::now() < *static_cast<const Clock::time_point*>(deadline) ? 1 : 0;
}

std::optional<std::string> askScheduler(const std::string& resource) try {
    const Libcups cups;
    auto deadline = Clock::now() + patience;
    const std::unique_ptr<http_t, void (*)(http_t*)> http(
        cups.connect(cups.server(), cups.port(), nullptr, AF_UNSPEC, cups.encryption(), 1,
                     static_cast<int>(patience.count()), nullptr),
        cups.close);
    if (!http)
        return std::nullopt;
    cups.setTimeout(http.get(), secondsBetweenLooks, isInTime, &deadline);
    cups.clearFields(http.get()); // sets Host, which a scheduler asks for
    if (cups.get(http.get(), resource.c_str()) != 0)
        return std::nullopt;
    http_status_t status = HTTP_STATUS_CONTINUE;
    while (status == HTTP_STATUS_CONTINUE)
        status = cups.update(http.get());
    if (status != HTTP_STATUS_OK)
        return std::nullopt;

    std::string ppd;
    std::array<char, 65536> piece{};
    ssize_t count = 0;
    while ((count = cups.read(http.get(), piece.data(), piece.size())) > 0) {
        ppd.append(piece.data(), static_cast<std::size_t>(count));
        if (ppd.size() > mostBytes || Clock::now() > deadline)
            return std::nullopt;
    }
    // An answer that broke off is no PPD.
    if (count < 0 || cups.error(http.get()) != 0 || cups.remaining(http.get()) != 0)
        return std::nullopt;
    return ppd;
} catch (const std::runtime_error&) {
    return std::nullopt;
}

} // namespace

std::optional<std::string> PrintSystemFiles::readFile(const std::string& path) {
    if (auto bytes = PosixFileSystem::readFile(path))
        return bytes;
    const auto resource = ppdResource(path);
    return resource ? askScheduler(*resource) : std::nullopt;
}

std::string printSystemName() try {
    const decltype(&::cupsUserAgent) userAgent = FromLibcups{"cupsUserAgent"};
    // "CUPS/2.4.2 (Linux …) IPP/2.0": as the library in use names itself.
    std::string name = userAgent();
    name = name.substr(0, name.find(' '));
    std::ranges::replace(name, '/', ' ');
    return name;
} catch (const std::runtime_error&) {
    return "CUPS";
}

} // namespace lumivert
