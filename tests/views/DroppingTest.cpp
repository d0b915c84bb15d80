#include "views/Dropping.h"

#include <gtest/gtest.h>

namespace lumivert {
namespace {

bool accepts(const std::string& name) {
    return acceptedDrop("file:///photos/" + name).has_value();
}

TEST(AcceptedDrop, goesByTheEndingInEitherLetterCase) {
    for (const char* ending : {"jpg", "jpeg", "png", "tiff", "tif", "heic", "raw", "cr2", "cr3",
                               "nef", "arw", "JPG", "Jpeg", "HEIC", "NEF"})
        EXPECT_TRUE(accepts(std::string("a.") + ending)) << ending;
}

TEST(AcceptedDrop, refusesEverythingElse) {
    for (const char* name :
         {"a.webp", "a.pdf", "a.dng", "a", "jpg", ".jpg", "a.jpg.txt", "a.jpgx", "a."})
        EXPECT_FALSE(accepts(name)) << name;
}

TEST(AcceptedDrop, needsTheAddressOfAFile) {
    EXPECT_FALSE(acceptedDrop(std::nullopt));
    for (const char* data :
         {"", "/photos/a.jpg", "http://example.org/a.jpg", "file:a.jpg", "file:///photos/%zz.jpg"})
        EXPECT_FALSE(acceptedDrop(data)) << data;
}

TEST(AcceptedDrop, keepsThePathAsItIs) {
    EXPECT_EQ(acceptedDrop("file:///photos/two%20words%2C%20%C3%A5.JPG")->path(),
              "/photos/two words, å.JPG");
}

} // namespace
} // namespace lumivert
