#include "model/Text.h"
#include "views/PanelFixture.h"

#include <QHelpEvent>
#include <QToolTip>

namespace lumivert {
namespace {

const QString warning = "This paper size may not support borderless printing on all printers.";

class SizingTest : public PanelTest {
protected:
    void usePaper(double widthMM, double heightMM, std::optional<std::string> fullbleed = {}) {
        pm->availablePaperSizes =
            std::vector<PaperSize>{{"P", "P", widthMM, heightMM, "P", std::move(fullbleed)}};
        pm->selectedPaperSizeID = "P";
    }
};

TEST_F(SizingTest, hasFourMarginSlidersToFiftyMillimetres) {
    EXPECT_EQ(sliders(), (QStringList{"Top", "Bottom", "Left", "Right"}));
    usePaper(1000, 2000);
    for (const QString& name : sliders()) {
        EXPECT_EQ(most(name), 50);
        EXPECT_EQ(slider(name)->scale().minimum, 0);
    }
}

TEST_F(SizingTest, bindsEachMarginToItsMember) {
    NotificationCount notifications(*pm);
    for (const QString& name : sliders())
        QTest::keyClick(slider(name), Qt::Key_Right);
    EXPECT_EQ(notifications.taken(), 4);
    QTest::keyClick(slider("Bottom"), Qt::Key_Right);
    QTest::keyClick(slider("Left"), Qt::Key_Left);
    QTest::keyClick(slider("Right"), Qt::Key_PageUp);
    EXPECT_EQ(pm->margins.get(), (Margins{.top = 5.5, .bottom = 6, .left = 5, .right = 10.5}));
    notifications.taken();
    pm->margins = Margins{.top = 7.25, .bottom = 1, .left = 60, .right = 0};
    EXPECT_EQ(slider("Top")->value(), 15);
    EXPECT_EQ(slider("Bottom")->value(), 2);
    EXPECT_EQ(slider("Left")->value(), 100);
    EXPECT_NE(textShown(*panel, "60.0 mm"), nullptr);
    EXPECT_EQ(pm->margins.get(), (Margins{.top = 7.25, .bottom = 1, .left = 60, .right = 0}));
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_F(SizingTest, hidesTheWholeBlockWhileBorderlessAndRestoresIt) {
    pm->margins = Margins{.top = 12, .bottom = 5, .left = 5, .right = 5};
    button("Borderless")->click();
    EXPECT_TRUE(pm->borderless);
    EXPECT_TRUE(sliders().isEmpty());
    EXPECT_EQ(button("Margins"), nullptr);
    EXPECT_EQ(button("Image Size"), nullptr);
    button("Borderless")->click();
    EXPECT_EQ(sliders().size(), 4);
    EXPECT_EQ(slider("Top")->value(), 24);
}

TEST_F(SizingTest, warnsOfBorderlessOnASizeWithoutSuchAVariant) {
    usePaper(210, 297);
    EXPECT_EQ(textShown(*panel, warning), nullptr);
    pm->borderless = true;
    ASSERT_NE(textShown(*panel, warning), nullptr);
    EXPECT_TRUE(qobject_cast<QLabel*>(textShown(*panel, warning))->wordWrap());
    usePaper(210, 297, "P.Fullbleed");
    EXPECT_EQ(textShown(*panel, warning), nullptr);
    pm->selectedPaperSizeID = "gone";
    EXPECT_NE(textShown(*panel, warning), nullptr) << "the built-in size has none";
}

TEST_F(SizingTest, choosesTheModeBySegments) {
    NotificationCount notifications(*pm);
    button("Image Size")->click();
    EXPECT_EQ(pm->sizingMode.get(), SizingMode::imageSize);
    EXPECT_EQ(notifications.taken(), 1);
    EXPECT_EQ(sliders(), (QStringList{"Width", "Height"}));
    pm->sizingMode = SizingMode::margins;
    EXPECT_TRUE(button("Margins")->isChecked());
    EXPECT_FALSE(button("Image Size")->isChecked());
    EXPECT_EQ(sliders().size(), 4);
}

TEST_F(SizingTest, showsEachSegmentsWholeNameOrTellsItInItsToolTip) {
    for (double points = 9; points <= 14; ++points) {
        const WithFontSize font(points);
        for (const char* name : {"Margins", "Image Size"}) {
            QAbstractButton* segment = button(name);
            QHelpEvent help(QEvent::ToolTip, {5, 5}, segment->mapToGlobal(QPoint(5, 5)));
            QApplication::sendEvent(segment, &help);
            const bool cut = QToolTip::isVisible();
            EXPECT_TRUE(!cut || QToolTip::text() == name) << name << " at " << points;
            EXPECT_TRUE(!cut || points > 13) << "there is the room at " << points;
            // No ink where the name would run into the edges.
            const QImage shown = segment->grab().toImage();
            const int right = shown.width() - 1;
            for (int y = shown.height() / 4; y < shown.height() * 3 / 4; ++y) {
                ASSERT_EQ(shown.pixel(3, y), shown.pixel(5, y)) << name << " at " << points;
                ASSERT_EQ(shown.pixel(right - 3, y), shown.pixel(right - 5, y))
                    << name << " at " << points;
            }
            QToolTip::hideText();
            ASSERT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); }));
        }
    }
}

TEST_F(SizingTest, limitsTheImageToTheSheetAsItLies) {
    usePaper(210, 297);
    pm->sizingMode = SizingMode::imageSize;
    EXPECT_EQ(most("Width"), 210);
    EXPECT_EQ(most("Height"), 297);
    EXPECT_EQ(slider("Width")->scale().minimum, 1);
    pm->orientation = PaperOrientation::landscape;
    EXPECT_EQ(most("Width"), 297);
    EXPECT_EQ(most("Height"), 210);
    pm->orientation = PaperOrientation::auto_;
    EXPECT_EQ(most("Width"), 210);
    load({300, 200});
    EXPECT_EQ(most("Width"), 297);
}

TEST_F(SizingTest, doesNotWriteWhenTheSheetTurnsUnderTheImage) {
    usePaper(210, 297);
    pm->sizingMode = SizingMode::imageSize;
    pm->imageHeightMM = 277;
    NotificationCount notifications(*pm);
    pm->orientation = PaperOrientation::landscape;
    EXPECT_EQ(slider("Height")->value(), slider("Height")->maximum());
    EXPECT_EQ(pm->imageHeightMM.get(), 277);
    EXPECT_NE(textShown(*panel, "277.0 mm"), nullptr);
    EXPECT_EQ(notifications.taken(), 1);
}

TEST_F(SizingTest, bindsImageWidthAndHeight) {
    pm->sizingMode = SizingMode::imageSize;
    QTest::keyClick(slider("Width"), Qt::Key_Right);
    EXPECT_EQ(pm->imageWidthMM.get(), 190.5);
    QTest::keyClick(slider("Height"), Qt::Key_Left);
    EXPECT_EQ(pm->imageHeightMM.get(), 276.5);
}

TEST_F(SizingTest, placesTheImageOnlyWhileItIsNotCentered) {
    usePaper(210, 297);
    pm->sizingMode = SizingMode::imageSize;
    EXPECT_TRUE(button("Centered")->isChecked());
    button("Centered")->click();
    EXPECT_FALSE(pm->imageSizeCentered);
    EXPECT_EQ(sliders(), (QStringList{"Width", "Height", "Top", "Left"}));
    EXPECT_EQ(most("Top"), 20);
    EXPECT_EQ(most("Left"), 20);
    QTest::keyClick(slider("Top"), Qt::Key_Right);
    QTest::keyClick(slider("Left"), Qt::Key_PageUp);
    EXPECT_EQ(pm->imageSizeMarginTop.get(), 0.5);
    EXPECT_EQ(pm->imageSizeMarginLeft.get(), 5);
}

TEST_F(SizingTest, shrinksTheRoomAboveAsTheImageGrows) {
    usePaper(210, 297);
    pm->sizingMode = SizingMode::imageSize;
    pm->imageSizeCentered = false;
    pm->imageSizeMarginTop = 15;
    pm->imageHeightMM = 290;
    EXPECT_EQ(most("Top"), 7);
    EXPECT_EQ(pm->imageSizeMarginTop.get(), 15);
    pm->imageHeightMM = 297;
    EXPECT_EQ(most("Top"), 0.5) << "the least range of a margin";
    pm->imageHeightMM = 400;
    EXPECT_EQ(most("Top"), 0.5);
    pm->orientation = PaperOrientation::landscape;
    pm->imageHeightMM = 110;
    EXPECT_EQ(most("Top"), 100);
}

TEST_F(SizingTest, sumsUpTheMargins) {
    usePaper(210, 297);
    pm->sizingMode = SizingMode::imageSize;
    EXPECT_NE(textShown(*panel, "Margins:"), nullptr);
    EXPECT_NE(textShown(*panel, "T 10.0  B 10.0  L 10.0  R 10.0 mm"), nullptr);
    pm->imageWidthMM = 139;
    EXPECT_NE(textShown(*panel, "T 10.0  B 10.0  L 35.5  R 35.5 mm"), nullptr);
    pm->imageSizeCentered = false;
    pm->imageSizeMarginTop = -5;
    pm->imageSizeMarginLeft = 70.96;
    EXPECT_NE(textShown(*panel, "T -5.0  B 25.0  L 71.0  R 0.0 mm"), nullptr);
    pm->sizingMode = SizingMode::margins;
    EXPECT_EQ(textShown(*panel, "Margins:"), nullptr);
}

TEST_F(SizingTest, letsASheetTooSmallForAnImageSizeBeWhileNobodyAsks) {
    usePaper(0.5, 0.5);
    EXPECT_EQ(sliders().size(), 4);
    pm->borderless = true;
    pm->sizingMode = SizingMode::imageSize;
    EXPECT_TRUE(sliders().isEmpty());
}

TEST_F(SizingTest, alignsAllFrames) {
    pm->sizingMode = SizingMode::imageSize;
    pm->imageSizeCentered = false;
    QApplication::processEvents();
    const auto rows = shown<StepSlider>(*panel);
    ASSERT_EQ(rows.size(), 4U);
    for (StepSlider* row : rows) {
        EXPECT_EQ(row->x(), rows[0]->x());
        EXPECT_EQ(row->width(), rows[0]->width());
    }
}

} // namespace
} // namespace lumivert
