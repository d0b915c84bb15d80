#include "views/preview/PreviewTexts.h"

#include "manager/SoftProof.h"
#include "views/ViewFixture.h"
#include "views/preview/PaperPreview.h"

#include <QAccessible>
#include <QAccessibleEvent>

namespace lumivert {
namespace {

/// A photo of 200 x 125 mm on A4.
class PreviewTexts : public ViewTest {
protected:
    PreviewTexts() {
        pm->availablePaperSizes =
            std::vector<PaperSize>{{"A4", "A4", 210, 297, "A4", std::nullopt}};
        pm->image = image;
        pm->availableICCProfiles = std::vector<ICCProfile>{printerManagedProfile(),
                                                           {"p", "Glossy paper", "/p.icc", false}};
        fakes.files.files["/p.icc"] = "profile P";
    }
    void turn() {
        fakes.dispatcher.runMain();
        QApplication::processEvents();
    }

    std::shared_ptr<fakes::FakeImage> image =
        std::make_shared<fakes::FakeImage>(PixelSize{1600, 1000}, SizePoints{1600, 1000});
};

TEST_F(PreviewTexts, tellTheSheetThePhotoAndTheMargins) {
    EXPECT_EQ(previewSentence(*pm), "A4 landscape, photo 287 × 179.4 mm, margins 5 mm");
    pm->orientation = PaperOrientation::portrait;
    EXPECT_EQ(previewSentence(*pm), "A4 portrait, photo 200 × 125 mm, margins 5 mm");
    pm->scalingMode = ScalingMode::fillPage;
    EXPECT_EQ(previewSentence(*pm), "A4 portrait, photo 200 × 287 mm, margins 5 mm");
    pm->borderless = true;
    EXPECT_EQ(previewSentence(*pm), "A4 portrait, photo 210 × 297 mm, borderless");
    pm->borderless = false;
    pm->margins = Margins{.top = 12.5, .bottom = 20, .left = 0, .right = 7.25};
    EXPECT_EQ(previewSentence(*pm), "A4 portrait, photo 202.8 × 264.5 mm, margins top 12.5, "
                                    "bottom 20, left 0, right 7.2 mm");
    pm->margins = Margins{.top = 200, .bottom = 200};
    EXPECT_EQ(previewSentence(*pm).substr(0, 34), "A4 portrait, no room for the photo");
    pm->image = nullptr;
    EXPECT_EQ(previewSentence(*pm), "");
}

TEST_F(PreviewTexts, tellTheSizeOnPaperOfAPhotoAtItsActualSize) {
    pm->image = std::make_shared<fakes::FakeImage>(PixelSize{300, 200}, SizePoints{144, 72});
    pm->scalingMode = ScalingMode::actualSize;
    EXPECT_EQ(previewSentence(*pm), "A4 landscape, photo 50.8 × 25.4 mm, margins 5 mm");
}

TEST_F(PreviewTexts, tellHowColoursAreShown) {
    const std::string sheet = "A4 landscape, photo 287 × 179.4 mm, margins 5 mm";
    pm->selectedICCProfileID = "p";
    turn();
    EXPECT_EQ(previewSentence(*pm), sheet + ", proof of Glossy paper being made");
    EXPECT_EQ(proofTrouble(*pm), "");
    image->proofs.at(0).completion(
        std::make_shared<ScreenRendition>(fakes::FakeImage::plain({4, 4}, 9)));
    turn();
    EXPECT_EQ(previewSentence(*pm), sheet + ", proof of Glossy paper");
    EXPECT_EQ(proofTrouble(*pm), "");
    pm->renderingIntent = RenderingIntent::absolute;
    turn();
    image->proofs.at(1).completion(nullptr);
    turn();
    EXPECT_EQ(previewSentence(*pm), sheet + ", colors shown without Glossy paper");
    EXPECT_EQ(proofTrouble(*pm),
              "Colors are shown without the profile Glossy paper, which cannot be used here.");
}

TEST_F(PreviewTexts, areThePreviewsDescriptionAndToolTip) {
    PaperPreview preview(*pm);
    keepFresh(&preview, *pm);
    QAccessibleInterface* picture = QAccessible::queryAccessibleInterface(&preview);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->role(), QAccessible::Graphic);
    EXPECT_EQ(picture->text(QAccessible::Name), "Paper preview");
    EXPECT_EQ(picture->text(QAccessible::Description).toStdString(), previewSentence(*pm));
    EXPECT_EQ(preview.toolTip(), "");
    pm->borderless = true;
    pm->availableICCProfiles =
        std::vector<ICCProfile>{{"p", "A <b>bold</b> name", "/missing.icc", false}};
    pm->selectedICCProfileID = "p";
    turn();
    EXPECT_EQ(picture->text(QAccessible::Description),
              "A4 landscape, photo 297 × 185.6 mm, borderless, colors shown without A <b>bold</b> "
              "name");
    EXPECT_TRUE(preview.toolTip().contains("A &lt;b&gt;bold")) << "as plain text";
}

} // namespace
} // namespace lumivert
