#include "views/preview/PaperPreview.h"

#include "views/ViewFixture.h"
#include "views/controls/Appearance.h"

#include <QElapsedTimer>
#include <QImage>

namespace lumivert {
namespace {

constexpr QRgb white = qRgb(255, 255, 255);
constexpr QRgb photo = qRgb(0x80, 0x80, 0x80);

/// The regions that a widget is asked to paint.
class PaintedRegion : public QObject {
public:
    explicit PaintedRegion(QWidget* widget) { widget->installEventFilter(this); }

    QRegion region;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            region += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
};

/// On a sheet of 2 pixels a millimetre: A4 in a view of 500 x 674 lies at 40, 40.
class PaperPreviewTest : public ViewTest {
protected:
    PaperPreviewTest() {
        pm->availablePaperSizes =
            std::vector<PaperSize>{{"A4", "A4", 210, 297, "A4", std::nullopt}};
        pm->margins = Margins{};
        pm->image = std::make_shared<fakes::FakeImage>(PixelSize{210, 297});
        preview.resize(500, 674);
        keepFresh(&preview, *pm);
        preview.show();
        QApplication::processEvents();
    }

    QImage painted() {
        refreshed();
        return preview.grab().toImage().convertToFormat(QImage::Format_RGB32);
    }
    QRgb pixel(double xMM, double yMM) {
        return painted().pixel(40 + static_cast<int>(xMM * 2), 40 + static_cast<int>(yMM * 2));
    }
    bool settles() {
        return QTest::qWaitFor([&] { return preview.isSettled(); });
    }
    /// The union of what the preview was asked to paint, after the event loop's turn.
    QRegion repainted() {
        PaintedRegion watch(&preview);
        QTest::qWait(30);
        return watch.region;
    }

    PaperPreview preview{*pm};
};

TEST_F(PaperPreviewTest, showsThePhotoOnTheSheetOnTheGround) {
    EXPECT_EQ(pixel(105, 150), photo);
    EXPECT_EQ(painted().pixel(5, 5), previewGround(preview.palette()).rgb());
}

TEST_F(PaperPreviewTest, leavesTheMarginsWhite) {
    pm->margins = Margins{.top = 20, .bottom = 40, .left = 10, .right = 30};
    pm->scalingMode = ScalingMode::fillPage;
    EXPECT_EQ(pixel(9, 150), white);
    EXPECT_EQ(pixel(12, 150), photo);
    EXPECT_EQ(pixel(178, 150), photo);
    EXPECT_EQ(pixel(181, 150), white);
    EXPECT_EQ(pixel(100, 19), white);
    EXPECT_EQ(pixel(100, 22), photo);
    EXPECT_EQ(pixel(100, 255), photo);
    EXPECT_EQ(pixel(100, 258), white);
}

TEST_F(PaperPreviewTest, fitsAPhotoOfAnotherShape) {
    pm->image = std::make_shared<fakes::FakeImage>(PixelSize{210, 100});
    pm->orientation = PaperOrientation::portrait;
    for (const ScalingMode scaling : {ScalingMode::fitToPage, ScalingMode::actualSize}) {
        pm->scalingMode = scaling;
        EXPECT_EQ(pixel(105, 97), white);
        EXPECT_EQ(pixel(105, 100), photo);
        EXPECT_EQ(pixel(105, 197), photo);
        EXPECT_EQ(pixel(105, 200), white);
    }
    pm->scalingMode = ScalingMode::fillPage;
    EXPECT_EQ(pixel(105, 2), photo);
    EXPECT_EQ(pixel(2, 100), photo);
}

TEST_F(PaperPreviewTest, cutsAFillingPhotoAtTheFrame) {
    pm->image = std::make_shared<fakes::FakeImage>(PixelSize{400, 100});
    pm->orientation = PaperOrientation::portrait;
    pm->margins = Margins{.left = 50, .right = 50};
    pm->scalingMode = ScalingMode::fillPage;
    EXPECT_EQ(pixel(48, 100), white);
    EXPECT_EQ(pixel(52, 100), photo);
    EXPECT_EQ(pixel(162, 100), white);
}

TEST_F(PaperPreviewTest, turnsTheSheetWithThePhoto) {
    EXPECT_LT(preview.currentLayout().sheet.width, preview.currentLayout().sheet.height);
    pm->image = std::make_shared<fakes::FakeImage>(PixelSize{300, 200});
    refreshed();
    EXPECT_GT(preview.currentLayout().sheet.width, preview.currentLayout().sheet.height);
    pm->orientation = PaperOrientation::portrait;
    refreshed();
    EXPECT_LT(preview.currentLayout().sheet.width, preview.currentLayout().sheet.height);
}

TEST_F(PaperPreviewTest, drawsADashedOutlineOnlyInsideMargins) {
    pm->image = nullptr;
    const auto inkOnFrame = [this] {
        const QImage image = painted();
        int found = 0;
        for (int x = 80; x < 420; ++x)
            found += image.pixel(x, 40 + 40) != white ? 1 : 0;
        return found;
    };
    pm->margins = Margins{.top = 20};
    const int dashes = inkOnFrame();
    EXPECT_NEAR(dashes, 170, 20) << "half of it is dashes";
    pm->borderless = true;
    EXPECT_EQ(inkOnFrame(), 0);
    pm->borderless = false;
    pm->margins = Margins{};
    EXPECT_EQ(inkOnFrame(), 0);
}

TEST_F(PaperPreviewTest, drawsTheOutlineWithinItsFrame) {
    // Eight pixels a unit: a line of 0.5 units is four pixels wide, a dash of 4 units 32 long.
    constexpr int ratio = 8;
    pm->image = nullptr;
    pm->margins = Margins{.top = 20, .left = 30};
    refreshed();
    QImage image(preview.size() * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    preview.render(&image);
    const int left = (40 + 30 * 2) * ratio;
    const int top = (40 + 20 * 2) * ratio;
    const auto grey = [&image](int x, int y) { return qRed(image.pixel(x, y)); };
    const int onWhite = 255 - static_cast<int>((255 - 127.5) * 0.4);
    // The upper edge: dashes from where the middles of two lines meet in the left corner.
    for (const int dash : {0, 1, 2, 20}) {
        const int start = left + 2 + dash * 64;
        for (int x = start + 1; x < start + 31; ++x)
            for (int y = top; y < top + 4; ++y)
                ASSERT_NEAR(grey(x, y), onWhite, 2) << x - left << "," << y - top;
        for (int x = start + 33; x < start + 63; ++x)
            for (int y = top; y < top + 4; ++y)
                ASSERT_EQ(grey(x, y), 255) << x - left << "," << y - top;
    }
    for (int x = left - 40; x < left + 2800; ++x) {
        ASSERT_EQ(grey(x, top - 1), 255) << "outside, at " << x - left;
        ASSERT_TRUE(x < left + 4 || grey(x, top + 4) == 255) << "inside, at " << x - left;
    }
    for (int y = top - 40; y < top + 4000; ++y)
        ASSERT_EQ(grey(left - 1, y), 255) << "outside, at " << y - top;
}

TEST_F(PaperPreviewTest, roundsTheSheetsCornersOffThePhotoToo) {
    pm->borderless = true;
    const QImage image = painted();
    EXPECT_NE(image.pixel(40, 40), photo);
    EXPECT_EQ(image.pixel(42, 42), photo);
    EXPECT_EQ(image.pixel(40, 300), photo);
    EXPECT_NE(image.pixel(459, 633), photo);
}

TEST_F(PaperPreviewTest, castsAShadowDownwards) {
    const QImage image = painted();
    const int ground = qRed(previewGround(preview.palette()).rgb());
    EXPECT_LT(qRed(image.pixel(250, 636)), ground - 20) << "below";
    EXPECT_LT(qRed(image.pixel(250, 636)), qRed(image.pixel(250, 36)));
    EXPECT_EQ(qRed(image.pixel(250, 660)), ground) << "gone further away";
}

TEST_F(PaperPreviewTest, cutsAnOverhangingFrameAtTheSheet) {
    pm->sizingMode = SizingMode::imageSize;
    pm->imageSizeCentered = false;
    pm->imageSizeMarginTop = -50;
    pm->imageWidthMM = 210;
    pm->imageHeightMM = 297;
    pm->scalingMode = ScalingMode::fillPage;
    EXPECT_NE(painted().pixel(250, 20), photo);
    EXPECT_EQ(pixel(105, 1), photo);
}

TEST_F(PaperPreviewTest, survivesARoomWithoutSpaceForASheet) {
    for (const QSize size : {QSize(80, 300), QSize(300, 80), QSize(10, 10)}) {
        preview.resize(size);
        EXPECT_EQ(painted().pixel(1, 1), previewGround(preview.palette()).rgb());
    }
}

TEST_F(PaperPreviewTest, followsAChangeOfThePalette) {
    const QRgb before = painted().pixel(5, 5);
    const WithPalette dark(darkPalette());
    EXPECT_NE(painted().pixel(5, 5), before);
}

TEST_F(PaperPreviewTest, keepsItsPictureUntilSomethingMoves) {
    ASSERT_TRUE(settles());
    (void)repainted();
    pm->lastCUPSCommand = "lp";
    pm->selectedPrinterID = "another";
    EXPECT_EQ(repainted(), QRegion()) << "nothing of the sheet has changed";
    preview.update();
    painted();
    EXPECT_TRUE(preview.isSettled());
    pm->margins = Margins{.top = 20};
    QApplication::processEvents();
    painted();
    EXPECT_FALSE(preview.isSettled());
    EXPECT_TRUE(settles());
}

TEST_F(PaperPreviewTest, repaintsTheSheetAlone) {
    const QRect sheet(40, 40, 420, 594);
    ASSERT_TRUE(settles());
    (void)repainted();
    pm->margins = Margins{.top = 20};
    EXPECT_EQ(repainted(), QRegion(sheet));
    pm->image = std::make_shared<fakes::FakeImage>(PixelSize{210, 290});
    EXPECT_EQ(repainted(), QRegion(preview.rect())) << "another photo";
    pm->orientation = PaperOrientation::landscape;
    EXPECT_EQ(repainted(), QRegion(preview.rect())) << "another sheet";
}

TEST_F(PaperPreviewTest, makesTheSettledPictureOnlyWhenNothingMoves) {
    preview.resize(160, 200); // so small that one would be ready between two steps
    ASSERT_TRUE(settles());
    bool stalled = false;
    QElapsedTimer sinceTheLastStep;
    for (int step = 1; step <= 8; ++step) {
        pm->margins = Margins{.top = step * 5.0};
        QApplication::processEvents();
        painted();
        sinceTheLastStep.start();
        QTest::qWait(20);
        // On a busy machine the wait may be long enough for one to be due.
        stalled = stalled || sinceTheLastStep.elapsed() > 100;
        ASSERT_TRUE(!preview.isSettled() || stalled) << step;
    }
    EXPECT_TRUE(settles());
}

TEST_F(PaperPreviewTest, showsTheProofWhenItArrives) {
    const auto image = std::make_shared<fakes::FakeImage>(PixelSize{210, 297});
    pm->image = image;
    fakes.files.files["/p.icc"] = "profile P";
    pm->availableICCProfiles = std::vector<ICCProfile>{{"p", "P", "/p.icc", false}};
    pm->selectedICCProfileID = "p";
    fakes.dispatcher.runMain();
    ASSERT_EQ(image->proofs.size(), 1U);
    EXPECT_EQ(pixel(105, 150), photo);
    image->proofs[0].completion(
        std::make_shared<ScreenRendition>(fakes::FakeImage::plain({64, 90}, 0x30)));
    fakes.dispatcher.runMain();
    EXPECT_EQ(pixel(105, 150), qRgb(0x30, 0x30, 0x30));
    pm->selectedICCProfileID = "printer_managed";
    fakes.dispatcher.runMain();
    EXPECT_EQ(pixel(105, 150), photo);
}

TEST_F(PaperPreviewTest, canEndWhileItsPictureIsBeingMade) {
    auto another = std::make_unique<PaperPreview>(*pm);
    another->resize(1600, 1600);
    keepFresh(another.get(), *pm);
    another->show();
    QApplication::processEvents();
    another.reset();
    QTest::qWait(50);
}

} // namespace
} // namespace lumivert
