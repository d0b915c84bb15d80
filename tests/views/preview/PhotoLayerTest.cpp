#include "views/preview/PhotoLayer.h"

#include "support/WithoutFurtherThreads.h"
#include "views/preview/Renditions.h"

#include <QImage>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace lumivert {
namespace {

/// What is painted at once, or what stands there once nothing moves.
enum class Moment { drawn, settled };

QImage painted(PhotoLayer& layer, const QRect& photo, const QRect& box) {
    QImage image(box.x() + box.width() + 5, box.y() + box.height() + 5, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    QPainter painter(&image);
    layer.paint(painter, photo, box);
    painter.end();
    return image;
}

bool settles(PhotoLayer& layer) {
    return QTest::qWaitFor([&layer] { return layer.isSettled(); });
}

class PhotoLayerAt : public testing::TestWithParam<Moment> {
protected:
    /// The box's pixels.
    QImage picture(const std::shared_ptr<const ScreenRendition>& rendition, const QRect& photo,
                   const QRect& box) {
        PhotoLayer layer(nullptr);
        layer.setRendition(rendition);
        QImage image = painted(layer, photo, box);
        EXPECT_FALSE(layer.isSettled());
        if (GetParam() == Moment::settled) {
            EXPECT_TRUE(settles(layer));
            image = painted(layer, photo, box);
        }
        return image.copy(box);
    }
    QImage picture(const std::shared_ptr<const ScreenRendition>& rendition, QSize size) {
        return picture(rendition, QRect({3, 5}, size), QRect({3, 5}, size));
    }
};
INSTANTIATE_TEST_SUITE_P(, PhotoLayerAt, testing::Values(Moment::drawn, Moment::settled),
                         [](const auto& at) { return at.index == 0 ? "drawn" : "settled"; });

TEST_P(PhotoLayerAt, keepsAPlainColour) {
    for (const QRgb color : {qRgb(200, 60, 40), qRgb(255, 255, 255), qRgb(0, 0, 0)})
        for (const QSize size : {QSize(150, 100), QSize(301, 200), QSize(500, 333), QSize(1, 1)}) {
            const QImage image = picture(plain({301, 200}, color), size);
            for (int y = 0; y < size.height(); ++y)
                for (int x = 0; x < size.width(); ++x)
                    ASSERT_EQ(image.pixel(x, y), color) << x << "," << y;
        }
}

TEST_P(PhotoLayerAt, isExactAtTheNaturalSize) {
    const QImage image = picture(ramps({64, 48}), {64, 48});
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x)
            ASSERT_EQ(image.pixel(x, y), qRgb(255 * x / 63, 0, 255 * y / 47));
}

TEST_P(PhotoLayerAt, keepsARampInItsPlace) {
    // A pixel's value is where its centre lies on the photo: neither shifted nor stretched.
    for (const QSize size : {QSize(700, 500), QSize(320, 240), QSize(1000, 700)}) {
        const QImage image = picture(ramps({800, 600}), size);
        for (const double part : {0.1, 0.37, 0.5, 0.9}) {
            const int x = static_cast<int>(size.width() * part);
            const int y = static_cast<int>(size.height() * part);
            EXPECT_NEAR(qRed(image.pixel(x, y)), 255 * (x + 0.5) / size.width(), 1.5);
            EXPECT_NEAR(qBlue(image.pixel(x, y)), 255 * (y + 0.5) / size.height(), 1.5);
        }
    }
}

TEST_P(PhotoLayerAt, showsThePartThatTheBoxLeaves) {
    // The photo's middle half.
    const QImage image = picture(ramps({800, 600}), {-90, -65, 400, 300}, {10, 10, 200, 150});
    ASSERT_EQ(image.size(), QSize(200, 150));
    EXPECT_NEAR(qRed(image.pixel(0, 0)), 64, 2);
    EXPECT_NEAR(qRed(image.pixel(199, 149)), 191, 2);
    EXPECT_NEAR(qBlue(image.pixel(0, 0)), 64, 2);
    EXPECT_NEAR(qBlue(image.pixel(199, 149)), 191, 2);
}

TEST_P(PhotoLayerAt, paintsNothingBesideTheBox) {
    PhotoLayer layer(nullptr);
    layer.setRendition(plain({300, 300}, qRgb(1, 2, 3)));
    const QRect box(20, 30, 50, 40);
    QImage image = painted(layer, {-10, -20, 200, 210}, box);
    if (GetParam() == Moment::settled) {
        ASSERT_TRUE(settles(layer));
        image = painted(layer, {-10, -20, 200, 210}, box);
    }
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ASSERT_EQ(image.pixel(x, y) == qRgb(1, 2, 3), box.contains(x, y)) << x << "," << y;
}

TEST_P(PhotoLayerAt, copesWithALongPanorama) {
    const QImage image = picture(ramps({2000, 20}), {-50'000, 0, 100'000, 1000}, {0, 0, 700, 1000});
    EXPECT_NEAR(qRed(image.pixel(0, 500)), 127, 2);
    EXPECT_NEAR(qRed(image.pixel(699, 500)), 129, 2);
}

TEST_P(PhotoLayerAt, doesNotAliasAFinePattern) {
    // Black and white lines, one pixel each, must melt into grey when they are made smaller.
    const auto lines = rendition(
        {1200, 1200}, [](int x, int) { return x % 2 == 0 ? qRgb(0, 0, 0) : qRgb(255, 255, 255); });
    const QImage image = picture(lines, {400, 400});
    for (int x = 10; x < 390; ++x)
        ASSERT_NEAR(qRed(image.pixel(x, 200)), 128, 6) << x;
}

TEST_P(PhotoLayerAt, scalesPhotosOfOnePixel) {
    for (const PixelSize size : {PixelSize{1, 1}, {1, 9}, {9, 1}}) {
        const QImage image = picture(plain(size, qRgb(7, 8, 9)), {20, 30});
        EXPECT_EQ(image.pixel(0, 0), qRgb(7, 8, 9));
        EXPECT_EQ(image.pixel(19, 29), qRgb(7, 8, 9));
    }
}

TEST(PhotoLayer, leavesLessOfWhatIsTooFineOnceSettled) {
    // Waves of 3 pixels that are 1.9 afterwards: finer than any picture of that size can show.
    const auto waves = rendition({1000, 100}, [](int x, int) {
        const int level = static_cast<int>(std::lround(128 + 100 * std::sin(x * 2 * M_PI / 3)));
        return qRgb(level, level, level);
    });
    PhotoLayer layer(nullptr);
    layer.setRendition(waves);
    const QRect place(0, 0, 633, 63);
    const auto contrast = [](const QImage& image) {
        double sum = 0;
        for (int x = 20; x < 600; ++x)
            sum += std::pow(qRed(image.pixel(x, 30)) - 128, 2);
        return std::sqrt(2 * sum / 580);
    };
    const double drawn = contrast(painted(layer, place, place));
    ASSERT_TRUE(settles(layer));
    const double settled = contrast(painted(layer, place, place));
    EXPECT_LT(settled, 0.8 * drawn);
    EXPECT_LT(settled, 60);
}

TEST(PhotoLayer, paintsNothingWithoutPixelsOrPlace) {
    PhotoLayer layer(nullptr);
    const QRect box(5, 5, 20, 20);
    const auto isUntouched = [](const QImage& image) {
        return image.pixelColor(6, 6) == QColor(Qt::magenta);
    };
    EXPECT_TRUE(isUntouched(painted(layer, box, box)));
    EXPECT_FALSE(layer.hasPhoto());
    layer.setRendition(plain({9, 9}, 0));
    EXPECT_TRUE(isUntouched(painted(layer, box, {5, 5, 0, 20})));
    EXPECT_TRUE(isUntouched(painted(layer, {5, 5, 20, 0}, box)));
    layer.setRendition(std::make_shared<ScreenRendition>());
    EXPECT_TRUE(isUntouched(painted(layer, box, box)));
    QTest::qWait(50);
    EXPECT_FALSE(layer.isSettled());
}

TEST(PhotoLayer, settlesForWhatWasPaintedLast) {
    PhotoLayer layer(nullptr);
    layer.setRendition(ramps({1600, 1200}));
    const QSignalSpy settled(&layer, &PhotoLayer::settled);
    (void)painted(layer, {0, 0, 900, 700}, {0, 0, 900, 700});
    QTest::qWait(1); // the thread is on its way
    const QRect last(0, 0, 300, 200);
    (void)painted(layer, last, last);
    ASSERT_TRUE(settles(layer));
    EXPECT_EQ(settled.count(), 1);
    EXPECT_NEAR(qRed(painted(layer, last, last).pixel(299, 100)), 255, 2);
}

TEST(PhotoLayer, keepsItsPictureWhereverItLies) {
    PhotoLayer layer(nullptr);
    layer.setRendition(ramps({800, 600}));
    (void)painted(layer, {0, 0, 80, 60}, {10, 10, 40, 30});
    ASSERT_TRUE(settles(layer));
    (void)painted(layer, {7, 5, 80, 60}, {17, 15, 40, 30});
    EXPECT_TRUE(layer.isSettled());
    (void)painted(layer, {7, 5, 80, 60}, {18, 15, 40, 30});
    EXPECT_FALSE(layer.isSettled());
}

TEST(PhotoLayer, showsNothingOfThePhotoBefore) {
    PhotoLayer layer(nullptr);
    const QRect place(0, 0, 900, 700);
    layer.setRendition(plain({1600, 1200}, qRgb(1, 1, 1)));
    (void)painted(layer, place, place);
    QTest::qWait(1); // the thread is on its way
    EXPECT_TRUE(layer.setRendition(plain({1600, 1200}, qRgb(9, 9, 9))));
    EXPECT_EQ(painted(layer, place, place).pixel(400, 400), qRgb(9, 9, 9));
    ASSERT_TRUE(settles(layer));
    EXPECT_EQ(painted(layer, place, place).pixel(400, 400), qRgb(9, 9, 9));
}

TEST(PhotoLayer, goesOnDrawingWithoutFurtherThreads) {
    PhotoLayer layer(nullptr);
    layer.setRendition(ramps({1600, 1200}));
    const QRect place(0, 0, 800, 600);
    {
        const WithoutFurtherThreads none;
        (void)painted(layer, place, place);
        QTest::qWait(50);
        EXPECT_FALSE(layer.isSettled());
        EXPECT_NEAR(qRed(painted(layer, place, place).pixel(400, 300)), 128, 2);
    }
    (void)painted(layer, {0, 0, 700, 500}, {0, 0, 700, 500});
    EXPECT_TRUE(settles(layer)) << "the next change finds its thread";
}

TEST(PhotoLayer, canEndWhileItsThreadIsAtWork) {
    for (int i = 0; i < 5; ++i) {
        PhotoLayer layer(nullptr);
        layer.setRendition(ramps({3000, 2000}));
        (void)painted(layer, {0, 0, 2500, 1500}, {0, 0, 2500, 1500});
        QTest::qWait(1);
    }
}

} // namespace
} // namespace lumivert
