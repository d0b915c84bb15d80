#include "decoder/Rendition.h"

#include "decoder/PlainPhotos.h"
#include "decoder/Profiles.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumivert::decoder {
namespace {

using namespace test;
using vips::VImage;

TEST(Rendition, isAsLongAsTheScreenWantsAndNoLongerThanThePhoto) {
    const std::string jpeg = saved(plain8({1000, 500}, {200, 60, 40}), ".jpg");
    EXPECT_EQ(readRendition(jpeg, 300)->size, (PixelSize{300, 150}));
    EXPECT_EQ(readRendition(jpeg, 125)->size, (PixelSize{125, 62}));
    EXPECT_EQ(readRendition(jpeg, 4000)->size, (PixelSize{1000, 500}));
    const std::string thin = saved(plain8({1000, 1}, {1, 2, 3}), ".png");
    EXPECT_EQ(readRendition(thin, 10)->size, (PixelSize{10, 1}));
    EXPECT_EQ(readRendition(saved(plain8({3, 5000}, {1, 2, 3}), ".png"), 9)->size,
              (PixelSize{1, 9}));
    for (const char* suffix : {".jpg", ".webp"}) // whose readers reduce
        EXPECT_EQ(readRendition(saved(plain8({4000, 2}, {1, 2, 3}), suffix), 100)->size,
                  (PixelSize{100, 1}))
            << suffix;
    const auto least = readRendition(jpeg, 1);
    ASSERT_TRUE(least);
    EXPECT_EQ(least->size, (PixelSize{1, 1}));
    EXPECT_EQ(readRendition(saved(plain8({1000, 500}, {1, 2, 3}), ".png"), 1)->words,
              (std::vector<std::uint32_t>{0xff010203}));
}

TEST(Rendition, isInSrgb) {
    // Greener than sRGB can be.
    const auto rendition =
        readRendition(saved(tagged(plain8(small, {0, 255, 0}), adobeRgbBytes()), ".png"), 16);
    ASSERT_TRUE(rendition);
    EXPECT_EQ(rendition->words.front(), 0xff00ff00);
    const auto grey = readRendition(saved(plain8(small, {77}), ".png"), 16);
    EXPECT_EQ(grey->words.front(), 0xff4d4d4d);
    const auto deep = readRendition(saved(plain16({65535, 32896, 0}), ".png"), 16);
    EXPECT_EQ(deep->words.front(), 0xffff8000);
    const auto noInk = readRendition(saved(plainCmyk({0, 0, 0, 0}), ".tif"), 16);
    EXPECT_EQ(noInk->words.front(), 0xffffffff);
    const auto fullInk = readRendition(saved(plainCmyk({255, 255, 255, 255}), ".tif"), 16);
    EXPECT_LT(fullInk->words.front() & 0xff, 0x30u);
}

TEST(Rows, areOnlyHadOfWhatThePhotoHas) {
    constexpr int far = std::numeric_limits<int>::max();
    for (const int orientation : {1, 6}) {
        auto image = plain8(small, {1, 2, 3}).copy();
        image.set(VIPS_META_ORIENTATION, orientation);
        const std::string file = saved(image, ".tif");
        EXPECT_TRUE(readRows(file, PixelRect{15, 15, 1, 1}));
        for (const PixelRect& crop :
             {PixelRect{15, 0, 2, 2}, PixelRect{0, 0, 4, 17}, PixelRect{-1, 0, 4, 4},
              PixelRect{0, 0, 0, 4}, PixelRect{0, 0, 4, -4}, PixelRect{far, far, far, far},
              PixelRect{-far, 0, far, 1}})
            EXPECT_FALSE(readRows(file, crop)) << crop.x << ' ' << crop.width;
    }
}

TEST(Rows, areConvertedIntoTheTarget) {
    const std::string red = saved(plain8(small, {255, 0, 0}), ".png");
    const auto rows = readRows(red, std::nullopt, Paper{adobeRgbBytes(), 1});
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->channels, 3);
    EXPECT_EQ(rows->bits, 8);
    // sRGB's red in Adobe RGB (1998).
    EXPECT_NEAR(rows->at(3, 3, 0), 219, 1);
    EXPECT_NEAR(rows->at(3, 3, 1), 0, 1);
    const auto deep =
        readRows(saved(plain16({65535, 0, 0}), ".png"), std::nullopt, Paper{adobeRgbBytes(), 1});
    EXPECT_EQ(deep->bits, 8);
    EXPECT_NEAR(deep->at(3, 3, 0), 219, 1);
    EXPECT_FALSE(readRows(red, std::nullopt, Paper{asBytes("no profile"), 1}));
}

} // namespace
} // namespace lumivert::decoder
