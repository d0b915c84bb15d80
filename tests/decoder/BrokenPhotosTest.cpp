#include "decoder/PlainPhotos.h"

#include <gtest/gtest.h>

namespace lumivert::decoder {
namespace {

using namespace test;
using vips::VImage;

TEST(BrokenPhotos, areWhatIsNoPhoto) {
    for (const std::string& file :
         {std::string(), std::string("x"), std::string(5000, '\0'), std::string("%PDF-1.4\n%..."),
          std::string("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>"),
          std::string("P5 2 2 255 abcd"), std::string("\xff\xd8\xff"), std::string("II*\0", 4)})
        EXPECT_FALSE(readRows(file));
}

TEST(BrokenPhotos, areThoseThatEndEarly) {
    const VImage noise = VImage::gaussnoise(300, 300).cast(VIPS_FORMAT_UCHAR);
    for (const char* suffix : {".jpg", ".jpg[interlace]", ".png", ".png[interlace]", ".webp"}) {
        const std::string whole = saved(noise, suffix);
        ASSERT_TRUE(readRows(whole)) << suffix;
        const std::string half = whole.substr(0, whole.size() / 2);
        EXPECT_FALSE(readRows(half)) << suffix;
        EXPECT_FALSE(readRendition(half, 100)) << suffix;
    }
}

TEST(BrokenPhotos, areJpegsThatBreakOffHoweverTheirFilesAreFilledUp) {
    const VImage noise = VImage::gaussnoise(300, 300).cast(VIPS_FORMAT_UCHAR);
    for (const bool progressive : {false, true}) {
        SCOPED_TRACE(progressive);
        const std::string whole = saved(noise, ".jpg", options()->set("interlace", progressive));
        ASSERT_TRUE(readRows(whole));
        const std::string half = whole.substr(0, whole.size() / 2);
        for (const std::string& broken :
             {half, half + "\xff\xd9", half + std::string(whole.size() - half.size(), '\0'),
              half + std::string(whole.size(), '\xff')}) {
            EXPECT_FALSE(readRows(broken));
            EXPECT_FALSE(readRendition(broken, 300));
            EXPECT_FALSE(readRendition(broken, 30));
        }
    }
}

TEST(BrokenPhotos, areNotJpegsThatSomethingFollows) {
    const std::string jpeg = saved(plain8(small, {200, 60, 40}), ".jpg");
    const std::string second = saved(plain8(small, {9}), ".jpg");
    for (const std::string& tail : {std::string(5000, '\0'), std::string("a film"), second,
                                    second.substr(0, second.size() / 2)})
        expectNear(outcome(jpeg + tail), {3, 8, {200, 60, 40}}, 4);
}

// A multi-picture file, and a thumbnail of something else: screen and paper show the photo.
TEST(BrokenPhotos, areNotJpegsWithOtherPicturesInThem) {
    const std::string photo = withoutSegments(saved(plain8({64, 64}, {200, 60, 40}), ".jpg"), 0xe1);
    const std::string other = saved(plain8({64, 64}, {10, 20, 230}), ".jpg");
    for (const std::string& file :
         {photo + other, withExif(photo, ExifBuilder{.orientation = 1}.bytes() + other)}) {
        expectNear(outcome(file), {3, 8, {200, 60, 40}}, 4);
        for (const int edge : {64, 8}) {
            const auto screen = readRendition(file, edge);
            ASSERT_TRUE(screen);
            EXPECT_NEAR(static_cast<int>(screen->words.front() >> 16 & 255), 200, 4) << edge;
            EXPECT_NEAR(static_cast<int>(screen->words.front() & 255), 40, 4) << edge;
        }
    }
}

TEST(BrokenPhotos, areNotThoseWhoseExifIsBroken) {
    const std::string jpeg = withoutSegments(saved(plain8(small, {200, 60, 40}), ".jpg"), 0xe1);
    for (const std::string& exif : {std::string("II*\0\xff\xff\xff\xff", 8), std::string("garbage"),
                                    std::string(), std::string(400, '\xff')})
        expectNear(outcome(withExif(jpeg, exif)), {3, 8, {200, 60, 40}}, 4);
}

} // namespace
} // namespace lumivert::decoder
