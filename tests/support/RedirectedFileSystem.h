#pragma once

#include "platform/FileSystem.h"

#include <utility>

namespace lumivert {

/// The files of `files` (borrowed), except that paths below the folder `from` are looked up below
/// `to`; both end in a slash. For code under test that reads from a fixed folder of the system.
class RedirectedFileSystem : public FileSystem {
public:
    RedirectedFileSystem(FileSystem& files, std::string from, std::string to)
        : m_files(files)
        , m_from(std::move(from))
        , m_to(std::move(to)) {}

    std::optional<std::string> readFile(const std::string& path) override {
        return m_files.readFile(redirected(path));
    }
    std::optional<std::vector<std::string>> enumerate(const std::string& folder) override {
        return m_files.enumerate(redirected(folder));
    }
    std::string homeDirectory() override { return m_files.homeDirectory(); }
    std::string temporaryDirectory() override { return m_files.temporaryDirectory(); }
    std::vector<std::string> dataFolders() override { return m_files.dataFolders(); }
    bool removeFile(const std::string& path) override {
        return m_files.removeFile(redirected(path));
    }

private:
    [[nodiscard]] std::string redirected(const std::string& path) const {
        return path.starts_with(m_from) ? m_to + path.substr(m_from.size()) : path;
    }

    FileSystem& m_files;
    std::string m_from;
    std::string m_to;
};

} // namespace lumivert
