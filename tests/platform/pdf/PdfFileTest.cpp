#include "platform/pdf/PdfFile.h"

#include "fakes/FakeBitmap.h"
#include "platform/pdf/PdfPageWriter.h"
#include "platform/pdf/PdfTestTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>

namespace lumivert {
namespace {

namespace fs = std::filesystem;

constexpr const char* emptyPages = "<< /Type /Pages /Kids [] /Count 0 >>";

// The catalog of a document without pages.
int writeCatalog(PdfFile& file) {
    const int pages = file.newObject();
    const int catalog = file.newObject();
    file.writeObject(pages, emptyPages);
    file.writeObject(catalog, "<< /Type /Catalog /Pages " + pdfReference(pages) + " >>");
    return catalog;
}

// Limits how long this process may make a file; the next write beyond fails with EFBIG.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
        : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int);
};

TEST(PdfFile, isForTheUserAlone) {
    const TemporaryFolder folder;
    const auto file = PdfFile::create(folder.path("a.pdf"));
    ASSERT_TRUE(file);
    struct stat status {};
    ASSERT_EQ(::stat(folder.path("a.pdf").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST(PdfFile, isNotHandedToOtherPrograms) {
    const TemporaryFolder folder;
    const auto file = PdfFile::create(folder.path("a.pdf"));
    ASSERT_TRUE(file);
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(entry, gone) == folder.path("a.pdf")) {
            EXPECT_EQ(::fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC,
                      FD_CLOEXEC);
            return;
        }
    }
    FAIL() << "the file is not open";
}

TEST(PdfFile, cannotBeCreatedWithoutItsFolder) {
    const TemporaryFolder folder;
    EXPECT_FALSE(PdfFile::create(folder.path("missing/a.pdf")));
    EXPECT_FALSE(writePdfPage(folder.path("missing/a.pdf"), {.size = {10, 10}}));
}

TEST(PdfFile, leavesAFileThatExistsAlone) {
    const TemporaryFolder folder;
    std::ofstream(folder.path("a.pdf")) << "other";
    EXPECT_FALSE(PdfFile::create(folder.path("a.pdf")));
    EXPECT_EQ(readFileText(folder.path("a.pdf")), "other");
    fs::create_symlink(folder.path("elsewhere"), folder.path("link.pdf"));
    EXPECT_FALSE(PdfFile::create(folder.path("link.pdf")));
}

TEST(PdfFile, writesStreamsOfEveryLengthAsTheyAre) {
    const TemporaryFolder folder;
    const std::string path = folder.path("a.pdf");
    const Bytes bytes = noise(5'000'000);
    auto file = PdfFile::create(path);
    std::vector<std::pair<int, std::size_t>> streams;
    // Around sizes of buffers, known beforehand and growing.
    for (const std::size_t length :
         {0UL, 1UL, 4095UL, 4096UL, 4097UL, 1048575UL, 1048576UL, 1048577UL, 5'000'000UL}) {
        const auto part = std::span(bytes).first(length);
        streams.emplace_back(file->newObject(), length);
        file->writeStream(streams.back().first, "/Kind /Known", part);
        streams.emplace_back(file->newObject(), length);
        file->beginStream(streams.back().first, "/Kind /Growing");
        for (std::size_t at = 0; at < length; at += 70001)
            file->append(part.subspan(at, std::min<std::size_t>(70001, length - at)));
        file->endStream();
    }
    ASSERT_TRUE(file->finish(writeCatalog(*file)));
    EXPECT_EQ(faultsOf(path), "");
    const SharedBytes whole = sharedBytes(bytes);
    for (const auto& [object, length] : streams)
        EXPECT_TRUE(rawStream(path, object) == textOf(whole).substr(0, length))
            << object << ": " << length;
}

TEST(PdfFile, isRemovedWhenItIsNotFinished) {
    const TemporaryFolder folder;
    auto file = PdfFile::create(folder.path("a.pdf"));
    EXPECT_FALSE(folder.isEmpty());
    file.reset();
    EXPECT_TRUE(folder.isEmpty());
}

TEST(PdfFile, staysOnceFinished) {
    const TemporaryFolder folder;
    auto file = PdfFile::create(folder.path("a.pdf"));
    ASSERT_TRUE(file->finish(writeCatalog(*file)));
    file->fail();
    file.reset();
    EXPECT_TRUE(fs::exists(folder.path("a.pdf")));
}

TEST(PdfFile, isRemovedAtOnceWhenGivenUp) {
    const TemporaryFolder folder;
    const auto file = PdfFile::create(folder.path("a.pdf"));
    file->fail();
    EXPECT_TRUE(folder.isEmpty());
    file->writeStream(file->newObject(), "", noise(4));
    EXPECT_FALSE(file->finish(writeCatalog(*file)));
}

TEST(PdfFile, doesNotFinishWhenItsFolderIsGone) {
    const TemporaryFolder folder;
    fs::create_directory(folder.path("inner"));
    const auto file = PdfFile::create(folder.path("inner/a.pdf"));
    ASSERT_TRUE(file);
    fs::remove_all(folder.path("inner"));
    EXPECT_FALSE(file->finish(writeCatalog(*file)));
}

TEST(PdfFile, doesNotFinishAndRemovesNothingWhenItsNameIsAnotherFiles) {
    const TemporaryFolder folder;
    auto file = PdfFile::create(folder.path("a.pdf"));
    fs::rename(folder.path("a.pdf"), folder.path("moved.pdf"));
    std::ofstream(folder.path("a.pdf")) << "other";
    EXPECT_FALSE(file->finish(writeCatalog(*file)));
    file.reset();
    EXPECT_EQ(readFileText(folder.path("a.pdf")), "other");
}

// A full disk, wherever it strikes.
void expectFailureAtEveryLength(const Bitmap& bitmap) {
    const TemporaryFolder folder;
    const auto draw = [&](TestPage& page) {
        page.draw(bitmap, {0, 0, 100, 100});
        page.whiteAreas = {{0, 0, 10, 10}};
    };
    ASSERT_NE(writePage(folder.path("whole.pdf"), draw), "");
    const std::uintmax_t size = fs::file_size(folder.path("whole.pdf"));
    ASSERT_GT(size, 2'000'000U);
    fs::remove(folder.path("whole.pdf"));
    std::vector<std::uintmax_t> limits{0, 1, 100, size - 1, size - 30, size - 700};
    for (std::uintmax_t limit = 50'000; limit < size; limit += 240'011)
        limits.push_back(limit);
    for (const std::uintmax_t limit : limits) {
        const FileSizeLimit fileSize(limit);
        EXPECT_EQ(writePage(folder.path("cut.pdf"), draw), "") << limit << " of " << size;
        EXPECT_TRUE(folder.isEmpty());
    }
    const FileSizeLimit enough(size);
    EXPECT_NE(writePage(folder.path("fits.pdf"), draw), "");
}

TEST(PdfFile, aDiskFullAmidRowsLeavesNoFile) {
    expectFailureAtEveryLength(FakeBitmap({{1000, 1000}, 3, 8, {}}, sharedBytes(noise(3'000'000))));
}

TEST(PdfFile, aDiskFullAmidAJpegStreamLeavesNoFile) {
    FakeBitmap bitmap({{1, 1}, 1, 8, {}}, sharedBytes(noise(1)));
    bitmap.jpeg = JpegStream{sharedBytes(noise(2'500'000)), {1000, 1000}, 1, 3, false, {}};
    expectFailureAtEveryLength(bitmap);
}

} // namespace
} // namespace lumivert
