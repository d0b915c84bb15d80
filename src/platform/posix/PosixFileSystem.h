#pragma once

#include "platform/FileSystem.h"

namespace lumivert {

/// The machine's files. A failure is an empty answer; nothing is thrown.
///
/// The environment is read at each call and counts where a variable is set, not empty and, other
/// than HOME, absolute; relative folders in XDG variables are ignored as their rules demand.
/// Slashes at the end of a folder named there are dropped ("/usr/share/" is common), so that one
/// folder has one spelling.
class PosixFileSystem : public FileSystem {
public:
    /// Regular files only, links to them included; never waits for the writer of a FIFO.
    [[nodiscard]] std::optional<std::string> readFile(const std::string& path) override;

    [[nodiscard]] std::optional<std::vector<std::string>>
    enumerate(const std::string& folder) override;

    /// $HOME as it stands, else the user's entry in the password database, else "/".
    [[nodiscard]] std::string homeDirectory() override;

    /// $TMPDIR, else /tmp.
    [[nodiscard]] std::string temporaryDirectory() override;

    [[nodiscard]] std::vector<std::string> dataFolders() override;

    /// Never a folder.
    bool removeFile(const std::string& path) override;
};

} // namespace lumivert
