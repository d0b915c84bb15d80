#include "platform/posix/PosixFileSystem.h"

#include "platform/posix/FolderWalk.h"
#include "platform/system/Descriptor.h"
#include "platform/system/SystemCall.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <pwd.h>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace lumivert {
namespace {

// Far beyond any profile or PPD.
constexpr off_t largestFile = off_t{64} << 20;

bool holdsNul(const std::string& path) {
    return path.find('\0') != std::string::npos;
}

std::string_view environmentText(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string withoutSlashesAtEnd(std::string_view folder) {
    while (folder.ends_with('/'))
        folder.remove_suffix(1);
    return std::string(folder);
}

std::string passwordDatabaseHome() {
    std::vector<char> buffer(16384);
    passwd entry = {};
    passwd* found = nullptr;
    while (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE)
        buffer.resize(2 * buffer.size());
    return found && found->pw_dir && *found->pw_dir ? found->pw_dir : "/";
}

} // namespace

std::optional<std::string> PosixFileSystem::readFile(const std::string& path) {
    if (holdsNul(path))
        return std::nullopt;
    const Descriptor fd(retryingInterrupts(
        [&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); }));
    struct stat status = {};
    if (!fd || ::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > largestFile)
        return std::nullopt;
    try {
        std::string bytes;
        bytes.reserve(static_cast<std::size_t>(status.st_size));
        if (readToEnd(fd.get(), bytes))
            return bytes;
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) {
    }
    return std::nullopt;
}

std::optional<std::vector<std::string>> PosixFileSystem::enumerate(const std::string& folder) {
    if (holdsNul(folder))
        return std::nullopt;
    return walkFolder(folder);
}

std::string PosixFileSystem::homeDirectory() {
    const auto home = environmentText("HOME");
    return home.empty() ? passwordDatabaseHome() : std::string(home);
}

std::string PosixFileSystem::temporaryDirectory() {
    const auto folder = environmentText("TMPDIR");
    return folder.starts_with('/') ? withoutSlashesAtEnd(folder) : "/tmp";
}

std::string PosixFileSystem::dataHome() {
    const auto folder = environmentText("XDG_DATA_HOME");
    return folder.starts_with('/') ? withoutSlashesAtEnd(folder)
                                   : homeDirectory() + "/.local/share";
}

std::vector<std::string> PosixFileSystem::dataDirectories() {
    auto text = environmentText("XDG_DATA_DIRS");
    if (text.empty())
        text = "/usr/local/share:/usr/share";
    std::vector<std::string> folders;
    while (!text.empty()) {
        const auto folder = text.substr(0, text.find(':'));
        text.remove_prefix(std::min(folder.size() + 1, text.size()));
        if (folder.starts_with('/'))
            folders.push_back(withoutSlashesAtEnd(folder));
    }
    return folders;
}

bool PosixFileSystem::removeFile(const std::string& path) {
    if (holdsNul(path))
        return false;
    return ::unlink(path.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR;
}

} // namespace lumivert
