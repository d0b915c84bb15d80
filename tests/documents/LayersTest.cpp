#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace lumivert {
namespace {

namespace fs = std::filesystem;

/// The folder of a path within src: "views/controls" for "views/controls/Picker.h".
std::string roomOf(const std::string& path) {
    const auto end = path.rfind('/');
    return end == std::string::npos ? "" : path.substr(0, end);
}

bool isIn(const std::string& room, const std::string& outer) {
    return room == outer || room.starts_with(outer + "/");
}

/// Whether what stands in `from` may know what stands in `to`: models know nothing, interfaces the
/// models, an implementation its interface and the kits for system calls and buses, the manager
/// interfaces, the preview and the views above it the manager, controls no view, and the
/// application everything but the decoder.
bool mayKnow(const std::string& from, const std::string& to) {
    if (to == from || to == "model")
        return true;
    if (isIn(from, "model"))
        return false;
    if (to == "platform")
        return true;
    if (from == "platform/cups" && to == "platform/posix")
        return true; // what the scheduler gives stands beside this machine's files
    if (isIn(from, "platform"))
        return from != "platform" && from != "platform/system" &&
               (to == "platform/system" || to == "platform/bus");
    if (isIn(from, "decoder"))
        return to == "platform/system" || to == "platform/decoder"; // the protocol
    if (isIn(from, "app"))
        return !isIn(to, "decoder");
    if (isIn(from, "views"))
        return to == "views/controls" || (from != "views/controls" && to == "manager") ||
               (from == "views" && isIn(to, "views"));
    return false;
}

/// "path:line: what is wrong" for each include that points up a layer or across.
std::vector<std::string> strayIncludes(const std::string& path, const std::string& text) {
    static const std::regex include(R"re(\s*#\s*include\s*"([^"]+)".*)re");
    std::vector<std::string> strays;
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        std::smatch match;
        if (!std::regex_match(line, match, include))
            continue;
        const std::string room = roomOf(match[1]);
        if (!room.empty() && !mayKnow(roomOf(path), room))
            strays.push_back("src/" + path + ":" + std::to_string(number) + ": " + roomOf(path) +
                             " must not know " + match[1].str());
    }
    return strays;
}

TEST(Layers, areNotCrossedUpwardsByAnyInclude) {
    const fs::path source = fs::path(LUMIVERT_TREE) / "src";
    int files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(source)) {
        const fs::path extension = entry.path().extension();
        if (extension != ".cpp" && extension != ".h")
            continue;
        std::ifstream stream(entry.path());
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        EXPECT_THAT(strayIncludes(fs::relative(entry.path(), source).string(), text),
                    testing::IsEmpty());
        ++files;
    }
    EXPECT_GT(files, 100) << "this looks at all of the source";
}

TEST(Layers, areCrossedByWhatPointsUpOrAcross) {
    struct Row {
        const char* file;
        const char* header;
        bool allowed;
    };
    for (const Row& row : {
             Row{"model/Text.cpp", "platform/Image.h", false},
             {"model/Text.cpp", "model/Text.h", true},
             {"platform/Image.h", "model/FileUrl.h", true},
             {"platform/Image.h", "platform/qt/QtDispatcher.h", false},
             {"platform/Image.h", "manager/PrintManager.h", false},
             {"platform/qt/QtDispatcher.cpp", "platform/system/Descriptor.h", true},
             {"platform/qt/QtDispatcher.cpp", "platform/pdf/PdfFile.h", false},
             {"platform/system/Descriptor.cpp", "platform/pdf/PdfFile.h", false},
             {"manager/PrintJob.cpp", "platform/Image.h", true},
             {"manager/PrintJob.cpp", "platform/pdf/PdfFile.h", false},
             {"manager/PrintJob.cpp", "views/ImageFiles.h", false},
             {"views/controls/Picker.h", "platform/Observable.h", true},
             {"views/controls/Picker.h", "views/PresetRow.h", false},
             {"views/controls/Picker.h", "views/preview/PhotoLayer.h", false},
             {"views/controls/Picker.h", "manager/PrintManager.h", false},
             {"views/ContentView.cpp", "views/preview/PhotoLayer.h", true},
             {"views/preview/PhotoLayer.cpp", "manager/PageGeometry.h", true},
             {"views/preview/PhotoLayer.cpp", "views/PreviewPanel.h", false},
             {"views/ContentView.cpp", "app/LumivertApp.h", false},
             {"views/ContentView.cpp", "platform/qt/QtDispatcher.h", false},
             {"decoder/Formats.cpp", "platform/decoder/Protocol.h", true},
             {"decoder/Formats.cpp", "platform/qt/QtDispatcher.h", false},
             {"app/SystemServices.cpp", "platform/pdf/PdfFile.h", true},
             {"app/SystemServices.cpp", "decoder/Formats.h", false},
         })
        EXPECT_EQ(mayKnow(roomOf(row.file), roomOf(row.header)), row.allowed)
            << row.file << " includes " << row.header;
}

TEST(Layers, areReportedByFileAndLine) {
    EXPECT_THAT(strayIncludes("model/Text.cpp", "// one\n#include <string>\n"
                                                "  # include \"views/Bands.h\" // why\n"),
                testing::ElementsAre("src/model/Text.cpp:3: model must not know views/Bands.h"));
}

} // namespace
} // namespace lumivert
