#include "manager/PrintManager.h"
#include "model/Text.h"
#include "platform/FileSystem.h"

#include <ranges>
#include <string_view>
#include <unordered_set>

namespace lumivert {
namespace {

std::vector<std::string> profileFolders(FileSystem& files) {
    const std::string home = files.homeDirectory();
    const std::vector<std::string> dataFolders = files.dataFolders();
    std::vector<std::string> folders{
        "/Library/ColorSync/Profiles",
        home + "/Library/ColorSync/Profiles",
        "/Library/Printers",
        // Where profiles lie on Linux: the user's own, those that the colour daemon made, those of
        // installed packages, and the ones that CUPS drivers bring.
        dataFolders.front() + "/icc",
        dataFolders.front() + "/color/icc",
        home + "/.color/icc",
        "/var/lib/colord/icc",
        "/var/lib/color/icc",
    };
    for (const std::string& data : dataFolders | std::views::drop(1))
        folders.push_back(data + "/color/icc");
    folders.push_back("/usr/share/cups/profiles");
    return folders;
}

bool isProfilePath(std::string_view path) {
    const std::string lower = lowerCased(path);
    return lower.ends_with(".icc") || lower.ends_with(".icm");
}

// Only these three forms go, wherever they stand in the name; ".ICM" stays, as is intended.
std::string profileName(std::string_view relativePath) {
    std::string name(relativePath.substr(relativePath.rfind('/') + 1));
    for (const std::string_view extension : {".icc", ".icm", ".ICC"})
        for (auto at = name.find(extension); at != std::string::npos; at = name.find(extension, at))
            name.erase(at, extension.size());
    return name;
}

} // namespace

void PrintManager::loadICCProfiles() {
    std::vector<ICCProfile> profiles{printerManagedProfile()};
    std::unordered_set<std::string> listed;
    for (const std::string& folder : profileFolders(m_platform.files)) {
        const auto entries = m_platform.files.enumerate(folder);
        if (!entries)
            continue;
        for (const std::string& relativePath : *entries) {
            const std::string path = folder + "/" + relativePath;
            if (!isUtf8(path)) // no text: nothing that a preset could hold
                break;
            if (!isProfilePath(relativePath))
                continue;
            if (listed.insert(path).second)
                profiles.push_back({.id = path,
                                    .name = profileName(relativePath),
                                    .path = path,
                                    .isSystem = true});
        }
    }
    availableICCProfiles = profiles;
}

} // namespace lumivert
