#include "platform/posix/FolderWalk.h"

#include "model/Utf8.h"
#include "platform/system/Descriptor.h"
#include "platform/system/SystemCall.h"

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace lumivert {
namespace {

using FolderIdentity = std::pair<dev_t, ino_t>;

struct Entry {
    std::string name;
    bool mayBeFolder = false;
};

/// A folder's entries and how far the walk is through them.
struct Level {
    std::string prefix; // relative to the walk's root, "" or ending in "/"
    std::vector<Entry> entries;
    std::size_t next = 0;
};

bool mayBeFolder(const dirent& entry) {
    return entry.d_type == DT_DIR || entry.d_type == DT_LNK || entry.d_type == DT_UNKNOWN;
}

std::vector<Entry> readEntries(DIR& folder) {
    std::vector<Entry> entries;
    while (const dirent* entry = ::readdir(&folder))
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0 &&
            isUtf8(entry->d_name))
            entries.push_back({entry->d_name, mayBeFolder(*entry)});
    return entries;
}

/// Nothing for what is no folder, cannot be opened, or stands in `entered` already, which it joins.
std::optional<std::vector<Entry>> enterFolder(const std::string& path,
                                              std::set<FolderIdentity>& entered) {
    // With O_DIRECTORY a link to a FIFO or a device is refused before it is opened.
    Descriptor fd(retryingInterrupts(
        [&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    struct stat status = {};
    if (!fd || ::fstat(fd.get(), &status) != 0 ||
        !entered.emplace(status.st_dev, status.st_ino).second)
        return std::nullopt;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::fdopendir(fd.get()), ::closedir);
    if (!folder)
        return std::nullopt;
    (void)fd.release(); // closedir closes it
    return readEntries(*folder);
}

} // namespace

std::optional<std::vector<std::string>> walkFolder(const std::string& folder) {
    std::set<FolderIdentity> entered;
    auto top = enterFolder(folder, entered);
    if (!top)
        return std::nullopt;

    std::vector<std::string> paths;
    std::vector<Level> levels;
    levels.push_back({"", std::move(*top)});
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.entries.size()) {
            levels.pop_back();
            continue;
        }
        const Entry& entry = level.entries[level.next++];
        std::string path = level.prefix + entry.name;
        paths.push_back(path);
        if (!entry.mayBeFolder)
            continue;
        if (auto below = enterFolder(folder + '/' + path, entered)) {
            path += '/';
            levels.push_back({std::move(path), std::move(*below)});
        }
    }
    return paths;
}

} // namespace lumivert
