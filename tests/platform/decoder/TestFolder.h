#pragma once

#include "model/FileUrl.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace lumivert::test {

/// A folder of its own that goes with the object.
class TestFolder {
public:
    TestFolder() {
        std::string name = testing::TempDir() + "/lumivert-XXXXXX";
        m_path = ::mkdtemp(name.data());
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder() { std::filesystem::remove_all(m_path); }

    [[nodiscard]] std::string path(const std::string& name) const { return m_path + "/" + name; }
    [[nodiscard]] FileUrl url(const std::string& name) const {
        return FileUrl::fromPath(path(name));
    }
    FileUrl write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return url(name);
    }

private:
    std::string m_path;
};

} // namespace lumivert::test
