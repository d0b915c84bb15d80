#include "model/PhotoFormats.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace lumivert {
namespace {

TEST(PhotoFormats, sayEverythingAboutEachKind) {
    std::set<PhotoKind> kinds;
    for (const PhotoFormat& format : photoFormats()) {
        EXPECT_TRUE(kinds.insert(format.kind).second) << format.name << " stands twice";
        EXPECT_FALSE(format.name.empty());
        EXPECT_FALSE(format.endings.empty()) << format.name;
        EXPECT_EQ(format.beginnings.empty(), format.kind == PhotoKind::cameraRaw) << format.name;
        for (const std::string_view ending : format.dropEndings)
            EXPECT_THAT(format.endings, testing::Contains(ending)) << format.name;
    }
}

TEST(PhotoFormats, shareNoEndingAndNoPlaceAmongTheFilters) {
    std::set<std::string_view> endings;
    std::set<int> places;
    for (const PhotoFormat& format : photoFormats()) {
        for (const std::string_view ending : format.endings)
            EXPECT_TRUE(endings.insert(ending).second) << ending;
        EXPECT_TRUE(format.filterPlace == 0 || places.insert(format.filterPlace).second)
            << format.name;
    }
    EXPECT_EQ(places, (std::set{1, 2, 3, 4, 5}));
}

TEST(PhotoFormats, letADropTakeTheseEndingsInThisOrder) {
    std::vector<std::string_view> endings;
    for (const PhotoFormat& format : photoFormats())
        endings.insert(endings.end(), format.dropEndings.begin(), format.dropEndings.end());
    EXPECT_THAT(endings, testing::ElementsAre("jpg", "jpeg", "png", "tiff", "tif", "heic", "raw",
                                              "cr2", "cr3", "nef", "arw"));
}

} // namespace
} // namespace lumivert
