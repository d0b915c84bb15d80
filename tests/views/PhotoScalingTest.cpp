#include "views/DraftPhoto.h"
#include "views/FinePhoto.h"
#include "views/PhotoPyramid.h"
#include "views/ViewFixture.h"

#include <QImage>

#include <cmath>
#include <cstring>
#include <functional>

namespace lumivert {
namespace {

/// A rendition whose pixel at (x, y) is what `pixel` says.
std::shared_ptr<const ScreenRendition> rendition(PixelSize size,
                                                 const std::function<QRgb(int, int)>& pixel) {
    Bytes bytes(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) * 4);
    std::byte* out = bytes.data();
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x, out += 4) {
            const QRgb color = pixel(x, y);
            std::memcpy(out, &color, 4);
        }
    return std::make_shared<ScreenRendition>(ScreenRendition{size, sharedBytes(std::move(bytes))});
}

std::shared_ptr<const ScreenRendition> plain(PixelSize size, QRgb color) {
    return rendition(size, [color](int, int) { return color; });
}

/// Grows evenly from left to right, and in blue from top to bottom.
std::shared_ptr<const ScreenRendition> ramps(PixelSize size) {
    return rendition(size, [size](int x, int y) {
        return qRgb(255 * x / (size.width - 1), 0, 255 * y / (size.height - 1));
    });
}

QImage fine(const QImage& level, const PhotoPlacement& placement) {
    return finePhoto(level, placement, false);
}

using Scaler = QImage (*)(const QImage&, const PhotoPlacement&);
class ScalerTest : public testing::TestWithParam<Scaler> {};
INSTANTIATE_TEST_SUITE_P(, ScalerTest, testing::Values(draftPhoto, fine),
                         [](const auto& scaler) { return scaler.index == 0 ? "draft" : "fine"; });

TEST(PhotoPyramid, beginsWithTheRenditionsOwnBytes) {
    const auto photo = plain({7, 5}, qRgb(1, 2, 3));
    PhotoPyramid pyramid(photo);
    const QImage& level = pyramid.levelFor({7, 5}, 1);
    EXPECT_EQ(level.size(), QSize(7, 5));
    EXPECT_EQ(static_cast<const void*>(level.constBits()), photo->pixels.view.data());
}

TEST(PhotoPyramid, keepsTheRenditionWhileALevelIsInUse) {
    QImage level;
    std::weak_ptr<const ScreenRendition> watched;
    {
        const auto photo = plain({8, 8}, qRgb(9, 9, 9));
        watched = photo;
        level = PhotoPyramid(photo).levelFor({8, 8}, 1);
    }
    EXPECT_FALSE(watched.expired());
    EXPECT_EQ(level.pixel(7, 7), qRgb(9, 9, 9));
    level = {};
    EXPECT_TRUE(watched.expired());
}

TEST(PhotoPyramid, findsTheSmallestLevelThatIsLargeEnough) {
    PhotoPyramid pyramid(plain({1000, 800}, qRgb(0, 0, 0)));
    struct Row {
        QSizeF size;
        double factor;
        QSize level;
    };
    for (const Row& row : std::vector<Row>{{{1000, 800}, 1, {1000, 800}},
                                           {{2000, 1600}, 1, {1000, 800}},
                                           {{501, 400}, 1, {1000, 800}},
                                           {{500, 400}, 1, {500, 400}},
                                           {{251, 10}, 1, {500, 400}},
                                           {{100, 80}, 1, {125, 100}},
                                           {{100, 80}, 2, {250, 200}},
                                           {{500, 400}, 0.5, {250, 200}},
                                           {{0.5, 0.5}, 1, {1, 1}}})
        EXPECT_EQ(pyramid.levelFor(row.size, row.factor).size(), row.level)
            << row.size.width() << " x " << row.factor;
}

TEST(PhotoPyramid, averagesTwoByTwoPixels) {
    const auto photo = rendition({4, 2}, [](int x, int y) {
        return x < 2 ? qRgb(x * 100, y * 200, 40) : qRgb(255, 255, 255);
    });
    const QImage& half = PhotoPyramid(photo).levelFor({2, 1}, 1);
    ASSERT_EQ(half.size(), QSize(2, 1));
    EXPECT_EQ(half.pixel(0, 0), qRgb(50, 100, 40));
    EXPECT_EQ(half.pixel(1, 0), qRgb(255, 255, 255));
}

TEST(PhotoPyramid, copesWithARenditionWithoutPixels) {
    PhotoPyramid pyramid(std::make_shared<ScreenRendition>());
    const QImage& level = pyramid.levelFor({10, 10}, 1);
    EXPECT_TRUE(draftPhoto(level, {{10, 10}, {0, 0, 10, 10}}).isNull());
    EXPECT_TRUE(fine(level, {{10, 10}, {0, 0, 10, 10}}).isNull());
}

TEST_P(ScalerTest, keepsAPlainColour) {
    const QRgb color = qRgb(200, 60, 40);
    PhotoPyramid pyramid(plain({301, 200}, color));
    for (const QSize size : {QSize(150, 100), QSize(301, 200), QSize(500, 333), QSize(1, 1)}) {
        const PhotoPlacement placement{size, QRectF({0, 0}, size)};
        const QImage image = GetParam()(pyramid.levelFor(size, 1), placement);
        ASSERT_EQ(image.size(), size);
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x)
                ASSERT_EQ(image.pixel(x, y), color) << x << "," << y;
    }
}

TEST_P(ScalerTest, isExactAtTheNaturalSize) {
    const auto photo = ramps({64, 48});
    const QImage image =
        GetParam()(PhotoPyramid(photo).levelFor({64, 48}, 1), {{64, 48}, {0, 0, 64, 48}});
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x)
            ASSERT_EQ(image.pixel(x, y), qRgb(255 * x / 63, 0, 255 * y / 47));
}

TEST_P(ScalerTest, keepsARampInItsPlace) {
    // A pixel's value is where its centre lies on the photo: neither shifted nor stretched.
    PhotoPyramid pyramid(ramps({800, 600}));
    for (const QSize size : {QSize(700, 500), QSize(320, 240), QSize(1000, 700)}) {
        const PhotoPlacement placement{size, QRectF({0, 0}, size)};
        const QImage image = GetParam()(pyramid.levelFor(size, 1), placement);
        for (const double part : {0.1, 0.37, 0.5, 0.9}) {
            const int x = static_cast<int>(size.width() * part);
            const int y = static_cast<int>(size.height() * part);
            EXPECT_NEAR(qRed(image.pixel(x, y)), 255 * (x + 0.5) / size.width(), 1.5);
            EXPECT_NEAR(qBlue(image.pixel(x, y)), 255 * (y + 0.5) / size.height(), 1.5);
        }
    }
}

TEST_P(ScalerTest, treatsBothDirectionsAlike) {
    // A mirrored photo gives the mirrored picture: no pixel is drawn towards one side.
    const auto rough = [](int x, int y) {
        const int level = (x * 7919 + y * 104729 + x * y * 31) % 200;
        return qRgb(level, 255 - level, level / 2);
    };
    PhotoPyramid straight(rendition({96, 64}, rough));
    PhotoPyramid mirrored(rendition({96, 64}, [&](int x, int y) { return rough(95 - x, 63 - y); }));
    for (const QSize size : {QSize(70, 50), QSize(37, 29), QSize(150, 90)}) {
        const PhotoPlacement placement{size, QRectF({0, 0}, size)};
        const QImage a = GetParam()(straight.levelFor(size, 1), placement);
        const QImage b = GetParam()(mirrored.levelFor(size, 1), placement).mirrored(true, true);
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x)
                ASSERT_NEAR(qRed(a.pixel(x, y)), qRed(b.pixel(x, y)), 2) << x << "," << y;
    }
}

TEST_P(ScalerTest, showsThePartThatThePlacementLeaves) {
    // The photo's middle half.
    PhotoPyramid pyramid(ramps({800, 600}));
    const PhotoPlacement placement{{200, 150}, {-100, -75, 400, 300}};
    const QImage image = GetParam()(pyramid.levelFor(placement.photo.size(), 1), placement);
    ASSERT_EQ(image.size(), QSize(200, 150));
    EXPECT_NEAR(qRed(image.pixel(0, 0)), 64, 2);
    EXPECT_NEAR(qRed(image.pixel(199, 149)), 191, 2);
    EXPECT_NEAR(qBlue(image.pixel(0, 0)), 64, 2);
}

TEST_P(ScalerTest, doesNotAliasAFinePattern) {
    // Black and white lines, one pixel each, must melt into grey when they are made smaller.
    const auto lines = rendition(
        {1200, 1200}, [](int x, int) { return x % 2 == 0 ? qRgb(0, 0, 0) : qRgb(255, 255, 255); });
    PhotoPyramid pyramid(lines);
    const QSize size(400, 400);
    const PhotoPlacement placement{size, QRectF({0, 0}, size)};
    const QImage image = GetParam()(pyramid.levelFor(size, 1), placement);
    for (int x = 10; x < 390; ++x)
        ASSERT_NEAR(qRed(image.pixel(x, 200)), 128, 6) << x;
}

TEST_P(ScalerTest, scalesPhotosOfOnePixel) {
    for (const PixelSize size : {PixelSize{1, 1}, {1, 9}, {9, 1}}) {
        PhotoPyramid pyramid(plain(size, qRgb(7, 8, 9)));
        const PhotoPlacement placement{{20, 30}, {0, 0, 20, 30}};
        const QImage image = GetParam()(pyramid.levelFor({20, 30}, 1), placement);
        ASSERT_EQ(image.size(), QSize(20, 30));
        EXPECT_EQ(image.pixel(19, 29), qRgb(7, 8, 9));
    }
}

TEST_P(ScalerTest, makesNothingForAPlacementWithoutArea) {
    PhotoPyramid pyramid(plain({9, 9}, 0));
    const QImage& level = pyramid.levelFor({9, 9}, 1);
    EXPECT_TRUE(GetParam()(level, {{0, 5}, {0, 0, 9, 9}}).isNull());
    EXPECT_TRUE(GetParam()(level, {{5, 5}, {0, 0, 0, 9}}).isNull());
}

TEST(DraftPhoto, ofALargeSizeHasEveryOtherSampleAndTheirAverages) {
    const QSize large(2001, 1501);
    EXPECT_EQ(draftDensity({1400, 1400}), 1);
    ASSERT_EQ(draftDensity(large), 0.5);
    PhotoPyramid pyramid(ramps({1600, 1200}));
    const PhotoPlacement placement{large, QRectF({0, 0}, large)};
    const QImage image =
        draftPhoto(pyramid.levelFor(placement.photo.size(), draftDensity(large)), placement);
    for (const QPoint at :
         {QPoint(500, 400), QPoint(501, 401), QPoint(1500, 1300), QPoint(1999, 750)}) {
        EXPECT_NEAR(qRed(image.pixel(at)), 255 * (at.x() + 0.5) / large.width(), 1.5);
        EXPECT_NEAR(qBlue(image.pixel(at)), 255 * (at.y() + 0.5) / large.height(), 1.5);
    }
    EXPECT_NEAR(qRed(image.pixel(2000, 1500)), 255, 1.5);
}

TEST(DraftPhoto, ofALargeSizePutsEachSampleInItsPlace) {
    const PixelSize size{1001, 801};
    const auto pixel = [](int x, int y) {
        return qRgb((x * 37 + y * 11) % 256, (x * 5) % 256, (y * 91) % 256);
    };
    PhotoPyramid pyramid(rendition(size, pixel));
    // Each sample falls on the middle of a pixel of the photo.
    const PhotoPlacement placement{{2002, 1602}, {-0.5, -0.5, 2002, 1602}};
    ASSERT_EQ(draftDensity(placement.size), 0.5);
    const QImage image = draftPhoto(pyramid.levelFor(placement.photo.size(), 0.5), placement);
    const auto average = [](QRgb a, QRgb b) {
        return qRgb((qRed(a) + qRed(b) + 1) / 2, (qGreen(a) + qGreen(b) + 1) / 2,
                    (qBlue(a) + qBlue(b) + 1) / 2);
    };
    for (int y = 0; y < size.height - 1; ++y)
        for (int x = 0; x < size.width - 1; ++x) {
            const QRgb above = average(pixel(x, y), pixel(x + 1, y));
            const QRgb below = average(pixel(x, y + 1), pixel(x + 1, y + 1));
            ASSERT_EQ(image.pixel(2 * x, 2 * y), pixel(x, y)) << x << ' ' << y;
            ASSERT_EQ(image.pixel(2 * x + 1, 2 * y), above) << x << ' ' << y;
            ASSERT_EQ(image.pixel(2 * x + 1, 2 * y + 1), average(above, below)) << x << ' ' << y;
        }
    EXPECT_EQ(image.pixel(2001, 1601), pixel(1000, 800));
}

TEST(FinePhoto, keepsMoreOfAFinePatternThanADraft) {
    // Waves of eight pixels, which are two and a half afterwards.
    const auto waves = rendition({1000, 100}, [](int x, int) {
        const int level = static_cast<int>(std::lround(128 + 100 * std::sin(x * 2 * M_PI / 8)));
        return qRgb(level, level, level);
    });
    PhotoPyramid pyramid(waves);
    const QSize size(312, 31);
    const PhotoPlacement placement{size, QRectF({0, 0}, size)};
    const auto contrast = [](const QImage& image) {
        double sum = 0;
        for (int x = 10; x < image.width() - 10; ++x)
            sum += std::pow(qRed(image.pixel(x, 15)) - 128, 2);
        return std::sqrt(sum / (image.width() - 20));
    };
    EXPECT_GT(contrast(fine(pyramid.levelFor(size, 2), placement)),
              1.05 * contrast(draftPhoto(pyramid.levelFor(size, 1), placement)));
}

TEST(FinePhoto, givesUpWhenAbandoned) {
    PhotoPyramid pyramid(plain({9, 9}, 0));
    EXPECT_TRUE(finePhoto(pyramid.levelFor({9, 9}, 1), {{9, 9}, {0, 0, 9, 9}}, true).isNull());
}

} // namespace
} // namespace lumivert
