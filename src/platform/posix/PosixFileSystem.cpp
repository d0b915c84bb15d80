#include "platform/posix/PosixFileSystem.h"

#include "model/Text.h"
#include "platform/system/Descriptor.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <pwd.h>
#include <set>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace lumivert {
namespace {

namespace fs = std::filesystem;

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
    return std::string(folder.substr(0, folder.find_last_not_of('/') + 1));
}

std::string passwordDatabaseHome() {
    std::vector<char> buffer(16384);
    passwd entry = {};
    passwd* found = nullptr;
    while (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE)
        buffer.resize(2 * buffer.size());
    return found && found->pw_dir && *found->pw_dir ? found->pw_dir : "/";
}

using FolderIdentity = std::pair<dev_t, ino_t>;

// Adds what lies below `root` + `prefix`, which is "" or ends in "/", to `paths`; false for what is
// no folder, cannot be opened, or stands in `entered` already, which it joins. One folder is open
// at a time, and a path longer than PATH_MAX cannot be opened, which bounds the depth.
bool walk(const std::string& root, const std::string& prefix, std::set<FolderIdentity>& entered,
          std::vector<std::string>& paths) {
    const std::string folder = prefix.empty() ? root : root + '/' + prefix;
    std::vector<std::pair<std::string, bool>> entries;
    {
        struct stat status = {};
        std::error_code error;
        fs::directory_iterator entry(folder, error);
        if (error || ::stat(folder.c_str(), &status) != 0 ||
            !entered.emplace(status.st_dev, status.st_ino).second)
            return false;
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            std::error_code unknown;
            const std::string name = entry->path().filename();
            if (isUtf8(name))
                entries.emplace_back(name, entry->is_directory(unknown));
        }
    }
    for (const auto& [name, isFolder] : entries) {
        paths.push_back(prefix + name);
        if (isFolder)
            walk(root, prefix + name + '/', entered, paths);
    }
    return true;
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
    std::set<FolderIdentity> entered;
    std::vector<std::string> paths;
    if (holdsNul(folder) || !walk(folder, "", entered, paths))
        return std::nullopt;
    return paths;
}

std::string PosixFileSystem::homeDirectory() {
    const auto home = environmentText("HOME");
    return home.empty() ? passwordDatabaseHome() : std::string(home);
}

std::string PosixFileSystem::temporaryDirectory() {
    const auto folder = environmentText("TMPDIR");
    return folder.starts_with('/') ? withoutSlashesAtEnd(folder) : "/tmp";
}

std::vector<std::string> PosixFileSystem::dataFolders() {
    const auto own = environmentText("XDG_DATA_HOME");
    std::vector<std::string> folders{own.starts_with('/') ? withoutSlashesAtEnd(own)
                                                          : homeDirectory() + "/.local/share"};
    auto text = environmentText("XDG_DATA_DIRS");
    if (text.empty())
        text = "/usr/local/share:/usr/share";
    while (!text.empty()) {
        const auto folder = text.substr(0, text.find(':'));
        text.remove_prefix(std::min(folder.size() + 1, text.size()));
        if (folder.starts_with('/'))
            folders.push_back(withoutSlashesAtEnd(folder));
    }
    return folders;
}

bool PosixFileSystem::removeFile(const std::string& path) {
    return !holdsNul(path) && (::unlink(path.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR);
}

} // namespace lumivert
