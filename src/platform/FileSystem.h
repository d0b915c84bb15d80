#pragma once

#include <optional>
#include <string>
#include <vector>

namespace lumivert {

/// Files and folders. Paths and contents are bytes. Any thread.
class FileSystem {
public:
    virtual ~FileSystem() = default;

    /// The whole file; nothing when it is missing, unreadable, no file, or larger than 64 MiB.
    [[nodiscard]] virtual std::optional<std::string> readFile(const std::string& path) = 0;

    /// Every file and folder below `folder`, at all depths, as paths relative to it, a folder
    /// before its contents, otherwise as the disk lists them. Links are followed; a folder that
    /// was already entered (a loop) and one that cannot be opened are listed but not entered. What
    /// has a name that is not UTF-8 is left out, with all below it.
    /// Nothing when `folder` itself cannot be opened.
    [[nodiscard]] virtual std::optional<std::vector<std::string>>
    enumerate(const std::string& folder) = 0;

    [[nodiscard]] virtual std::string homeDirectory() = 0;

    /// The folder for temporary files, without a slash at its end.
    [[nodiscard]] virtual std::string temporaryDirectory() = 0;

    /// The user's own, $XDG_DATA_HOME, else ~/.local/share; then the shared ones, $XDG_DATA_DIRS,
    /// else /usr/local/share and /usr/share, in order (freedesktop.org, XDG Base Directory).
    [[nodiscard]] virtual std::vector<std::string> dataFolders() = 0;

    /// Whether the file is gone afterwards.
    virtual bool removeFile(const std::string& path) = 0;
};

} // namespace lumivert
