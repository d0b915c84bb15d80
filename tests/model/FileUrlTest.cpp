#include "model/FileUrl.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <utility>

namespace lumivert {
namespace {

using namespace std::string_literals;

std::optional<std::string> pathOf(std::string_view data) {
    const auto url = FileUrl::fromDataRepresentation(data);
    return url ? std::optional(url->path()) : std::nullopt;
}

TEST(FileUrl, readsTheFormsOfALocalAddress) {
    for (const std::string_view data :
         {"file:///photos/a.jpg", "file://localhost/photos/a.jpg", "file:/photos/a.jpg",
          "FILE:///photos/a.jpg", "File://LocalHost/photos/a.jpg", "file:///photos/%61.jpg",
          "file:///photos/a.jpg?page=1", "file:///photos/a.jpg#top", "file:///photos/a.jpg?#"}) {
        SCOPED_TRACE(data);
        EXPECT_EQ(pathOf(data), "/photos/a.jpg");
    }
}

TEST(FileUrl, readsNoOtherAddress) {
    for (const std::string& data :
         {""s, "file"s, "file:"s, "file://"s, "/photos/a.jpg"s, "http:///a.jpg"s,
          "https://host/a.jpg"s, "file://server/a.jpg"s, "file://localhost.example/a.jpg"s,
          "file:photos/a.jpg"s, "file:./a.jpg"s, "files:///a.jpg"s, " file:///a.jpg"s,
          "file:///a%00.jpg"s, "file:///a\0.jpg"s, "file://%2Fa.jpg"s}) {
        SCOPED_TRACE(data);
        EXPECT_EQ(FileUrl::fromDataRepresentation(data), std::nullopt);
    }
}

TEST(FileUrl, refusesBrokenEscapes) {
    for (const std::string_view data :
         {"file:///a%", "file:///a%4", "file:///a%zz", "file:///a%4g", "file:///a%g4",
          "file:///%%41", "file:///a%+1", "file:///a%-1", "file:///a% 1", "file:///a%0x"}) {
        SCOPED_TRACE(data);
        EXPECT_EQ(FileUrl::fromDataRepresentation(data), std::nullopt);
    }
}

TEST(FileUrl, readsEscapesInEitherCaseAndAtTheEnd) {
    EXPECT_EQ(pathOf("file:///%C3%A5%c3%a4"), "/åä");
    EXPECT_EQ(pathOf("file:///a%25"), "/a%");
    EXPECT_EQ(pathOf("file:///a%2525"), "/a%25") << "an escape is read once";
    EXPECT_EQ(pathOf("file:///a%3Fb%23c"), "/a?b#c");
    EXPECT_EQ(pathOf("file:///å b"), "/å b") << "bytes that need no reading stay";
    EXPECT_EQ(pathOf("file:///a+b"), "/a+b") << "a plus is no space";
}

TEST(FileUrl, escapesAllButUnreservedBytesAndSlashes) {
    EXPECT_EQ(FileUrl::fromPath("/photos/Åre 2024/a&b(1)~x-y_z.jpg").dataRepresentation(),
              "file:///photos/%C3%85re%202024/a%26b%281%29~x-y_z.jpg");
    EXPECT_EQ(FileUrl::fromPath("/100%/a?b#c;d:e@f=g+h,i!j'k*l\"m").dataRepresentation(),
              "file:///100%25/a%3Fb%23c%3Bd%3Ae%40f%3Dg%2Bh%2Ci%21j%27k%2Al%22m");
    EXPECT_EQ(FileUrl::fromPath("/\xff\n").dataRepresentation(), "file:///%FF%0A");
}

TEST(FileUrl, comesBackFromItsEncodedFormWithEveryByte) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        std::string path = "/";
        for (auto length = random() % 40; length > 0; --length)
            path += static_cast<char>(1 + random() % 255);
        const FileUrl url = FileUrl::fromPath(path);
        EXPECT_EQ(FileUrl::fromDataRepresentation(url.dataRepresentation()), url);
    }
}

TEST(FileUrl, namesItsLastComponentAndExtension) {
    const struct {
        std::string_view path, name, extension;
    } cases[] = {
        {"/photos/a.jpg", "a.jpg", "jpg"},
        {"/photos/a.JPG", "a.JPG", "JPG"},
        {"/photos/a.b.tiff", "a.b.tiff", "tiff"},
        {"/photos.d/a", "a", ""},
        {"/photos/.jpg", ".jpg", ""},
        {"/photos/.a.jpg", ".a.jpg", "jpg"},
        {"/photos/a.", "a.", ""},
        {"/photos/a..jpg", "a..jpg", "jpg"},
        {"/photos/folder.jpg/", "folder.jpg", "jpg"},
        {"/photos/folder.jpg//", "folder.jpg", "jpg"},
        {"/", "/", ""},
        {"//", "/", ""},
        {"a.png", "a.png", "png"},
        {"", "", ""},
        {"/å/ö.heic", "ö.heic", "heic"},
    };
    for (const auto& [path, name, extension] : cases) {
        SCOPED_TRACE(path);
        const FileUrl url = FileUrl::fromPath(std::string(path));
        EXPECT_EQ(url.lastPathComponent(), name);
        EXPECT_EQ(url.pathExtension(), extension);
    }
}

TEST(FileUrl, isEqualByItsBytes) {
    EXPECT_EQ(FileUrl::fromPath("/a"), FileUrl::fromPath("/a"));
    EXPECT_NE(FileUrl::fromPath("/a"), FileUrl::fromPath("/A"));
    EXPECT_NE(FileUrl::fromPath("/a"), FileUrl::fromPath("//a"));
}

} // namespace
} // namespace lumivert
