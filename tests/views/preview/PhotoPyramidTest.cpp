#include "views/preview/PhotoLayer.h"
#include "views/preview/Renditions.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivert {
namespace {

TEST(PhotoPyramid, beginsWithTheRenditionsOwnBytes) {
    const auto photo = plain({7, 5}, qRgb(1, 2, 3));
    PhotoPyramid pyramid(photo);
    const QImage& level = pyramid.levelFor({7, 5});
    EXPECT_EQ(level.size(), QSize(7, 5));
    EXPECT_EQ(static_cast<const void*>(level.constBits()), photo->pixels.view.data());
}

TEST(PhotoPyramid, keepsTheRenditionWhileALevelIsInUse) {
    QImage level;
    std::weak_ptr<const ScreenRendition> watched;
    {
        const auto photo = plain({8, 8}, qRgb(9, 9, 9));
        watched = photo;
        level = PhotoPyramid(photo).levelFor({8, 8});
    }
    EXPECT_FALSE(watched.expired());
    EXPECT_EQ(level.pixel(7, 7), qRgb(9, 9, 9));
    level = {};
    EXPECT_TRUE(watched.expired());
}

TEST(PhotoPyramid, findsTheSmallestLevelThatIsLargeEnough) {
    PhotoPyramid pyramid(plain({1000, 800}, qRgb(0, 0, 0)));
    struct Row {
        QSize size;
        QSize level;
    };
    for (const Row& row : std::vector<Row>{{{1000, 800}, {1000, 800}},
                                           {{2000, 1600}, {1000, 800}},
                                           {{501, 400}, {1000, 800}},
                                           {{500, 400}, {500, 400}},
                                           {{251, 10}, {500, 400}},
                                           {{100, 80}, {125, 100}},
                                           {{0, 0}, {1, 1}}})
        EXPECT_EQ(pyramid.levelFor(row.size).size(), row.level) << row.size.width();
}

TEST(PhotoPyramid, averagesTwoByTwoPixels) {
    const auto photo = rendition({4, 2}, [](int x, int y) {
        return x < 2 ? qRgb(x * 100, y * 200, 40) : qRgb(255, 255, 255);
    });
    const QImage& half = PhotoPyramid(photo).levelFor({2, 1});
    ASSERT_EQ(half.size(), QSize(2, 1));
    EXPECT_NEAR(qRed(half.pixel(0, 0)), 50, 1);
    EXPECT_NEAR(qGreen(half.pixel(0, 0)), 100, 1);
    EXPECT_NEAR(qBlue(half.pixel(0, 0)), 40, 1);
    EXPECT_EQ(half.pixel(1, 0), qRgb(255, 255, 255));
}

TEST(PhotoPyramid, copesWithARenditionWithoutPixels) {
    EXPECT_TRUE(PhotoPyramid(std::make_shared<ScreenRendition>()).levelFor({10, 10}).isNull());
}

} // namespace
} // namespace lumivert
