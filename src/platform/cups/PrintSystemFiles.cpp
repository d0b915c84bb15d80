#include "platform/cups/PrintSystemFiles.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cups/cups.h>
#include <memory>
#include <string_view>

namespace lumivert {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds patience{5000};
constexpr double secondsBetweenLooks = 0.1;
constexpr std::size_t mostBytes = 64U << 20U;

constexpr std::string_view ppdFolder = "/etc/cups/ppd/";
constexpr std::string_view ppdEnding = ".ppd";

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

std::optional<std::string> askScheduler(const std::string& resource) {
    auto deadline = Clock::now() + patience;
    const std::unique_ptr<http_t, void (*)(http_t*)> http(
        httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1,
                     static_cast<int>(patience.count()), nullptr),
        httpClose);
    if (!http)
        return std::nullopt;
    httpSetTimeout(http.get(), secondsBetweenLooks, isInTime, &deadline);
    httpClearFields(http.get()); // sets Host, which a scheduler asks for
    if (httpGet(http.get(), resource.c_str()) != 0)
        return std::nullopt;
    http_status_t status = HTTP_STATUS_CONTINUE;
    while (status == HTTP_STATUS_CONTINUE)
        status = httpUpdate(http.get());
    if (status != HTTP_STATUS_OK)
        return std::nullopt;

    std::string ppd;
    std::array<char, 65536> piece{};
    ssize_t count = 0;
    while ((count = httpRead2(http.get(), piece.data(), piece.size())) > 0) {
        ppd.append(piece.data(), static_cast<std::size_t>(count));
        if (ppd.size() > mostBytes || Clock::now() > deadline)
            return std::nullopt;
    }
    // An answer that broke off is no PPD.
    if (count < 0 || httpError(http.get()) != 0 || httpGetRemaining(http.get()) != 0)
        return std::nullopt;
    return ppd;
}

} // namespace

std::optional<std::string> PrintSystemFiles::readFile(const std::string& path) {
    if (auto bytes = PosixFileSystem::readFile(path))
        return bytes;
    const auto resource = ppdResource(path);
    return resource ? askScheduler(*resource) : std::nullopt;
}

std::string printSystemName() {
    // "CUPS/2.4.2 (Linux …) IPP/2.0": as the library in use names itself.
    std::string name = cupsUserAgent();
    name = name.substr(0, name.find(' '));
    std::ranges::replace(name, '/', ' ');
    return name;
}

} // namespace lumivert
