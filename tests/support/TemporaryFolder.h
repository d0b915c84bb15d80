#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lumivert {

/// A new folder, removed with everything in it at the end. Every user may enter it: tests that run
/// as root look into it as other users.
class TemporaryFolder {
public:
    TemporaryFolder() {
        // Not $TMPDIR: it may be closed to other users, and too long for a socket's address.
        std::string path = "/tmp/lumivert-test-XXXXXX";
        if (!::mkdtemp(path.data()))
            throw std::runtime_error("no temporary folder");
        m_path = path;
        std::filesystem::permissions(m_path, std::filesystem::perms(0755));
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] std::string operator/(std::string_view name) const {
        return m_path + '/' + std::string(name);
    }

    /// Writes a file, after the folders on its way, and returns its path.
    std::string write(std::string_view name, std::string_view bytes = {}) const {
        const std::filesystem::path file = *this / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }

    [[nodiscard]] std::string read(std::string_view name) const {
        std::ifstream file(*this / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string m_path;
};

} // namespace lumivert
