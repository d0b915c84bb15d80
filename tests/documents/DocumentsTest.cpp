#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>

namespace lumivert {
namespace {

namespace fs = std::filesystem;

const fs::path tree = LUMIVERT_TREE;

std::string contents(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// What stands between backquotes or in a link's parentheses and looks like a path of the tree.
std::set<std::string> pathsNamedIn(const std::string& text) {
    const std::regex path(R"([`(]((?:src|tests|bench|scripts|docs|packaging)(?:/[\w./-]*)?)[`)])");
    std::set<std::string> paths;
    for (std::sregex_iterator it(text.begin(), text.end(), path), end; it != end; ++it)
        paths.insert((*it)[1]);
    return paths;
}

TEST(Documents, nameOnlyPathsThatAreThere) {
    for (const char* document :
         {"README.md", "SECURITY.md", "CONTRIBUTING.md", "docs/reliability.md",
          "docs/architecture.md", "docs/colour.md", "docs/formats.md", "docs/performance.md"}) {
        const std::string text = contents(tree / document);
        ASSERT_FALSE(text.empty()) << document;
        for (const std::string& path : pathsNamedIn(text))
            EXPECT_TRUE(fs::exists(tree / path)) << document << " names " << path;
    }
}

// Names of code: one word between backquotes, with a capital inside.
std::set<std::string> namesOfCodeIn(const std::string& text) {
    const std::regex name("`([A-Za-z][a-z]*[A-Z]\\w*)`");
    std::set<std::string> names;
    for (std::sregex_iterator it(text.begin(), text.end(), name), end; it != end; ++it)
        names.insert((*it)[1]);
    return names;
}

TEST(Documents, nameOnlyCodeThatIsThere) {
    std::string code;
    for (const char* folder : {"src", "tests"})
        for (const auto& entry : fs::recursive_directory_iterator(tree / folder))
            if (entry.path().extension() == ".h" || entry.path().extension() == ".cpp")
                code += contents(entry.path());
    for (const char* document : {"CONTRIBUTING.md", "docs/architecture.md"}) {
        const auto names = namesOfCodeIn(contents(tree / document));
        EXPECT_THAT(names, testing::Contains("PrintManager"));
        for (const std::string& name : names)
            EXPECT_NE(code.find(name), std::string::npos) << document << " names " << name;
    }
}

TEST(Documents, mapEveryFolderOfTheSource) {
    const auto named = pathsNamedIn(contents(tree / "CONTRIBUTING.md"));
    ASSERT_THAT(named, testing::Contains("src/model"));
    for (const fs::path& room : {tree / "src", tree / "src/platform", tree / "src/views"})
        for (const auto& entry : fs::directory_iterator(room))
            EXPECT_TRUE(!entry.is_directory() ||
                        named.contains(fs::relative(entry.path(), tree).string()))
                << entry.path();
}

} // namespace
} // namespace lumivert
