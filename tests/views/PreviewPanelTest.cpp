#include "views/PreviewPanel.h"

#include "views/ViewFixture.h"
#include "views/controls/Appearance.h"
#include "views/preview/PaperPreview.h"

#include <QImage>
#include <QPushButton>

#include <algorithm>
#include <utility>

namespace lumivert {
namespace {

class PreviewPanelTest : public ViewTest {
protected:
    PreviewPanelTest() {
        panel.resize(780, 700);
        panel.show();
        QApplication::processEvents();
    }

    PreviewPanel panel{*pm};
};

TEST_F(PreviewPanelTest, invitesUntilAnImageIsLoaded) {
    EXPECT_EQ(shown<DropZoneView>(panel).size(), 1U);
    EXPECT_TRUE(shown<PaperPreview>(panel).empty());
    load({300, 200});
    EXPECT_TRUE(shown<DropZoneView>(panel).empty());
    ASSERT_EQ(shown<PaperPreview>(panel).size(), 1U);
    QApplication::processEvents();
    EXPECT_EQ(shown<PaperPreview>(panel)[0]->geometry(), panel.rect());
    pm->image = nullptr;
    EXPECT_EQ(shown<DropZoneView>(panel).size(), 1U);
}

TEST_F(PreviewPanelTest, isAtLeastFiveHundredWide) {
    EXPECT_EQ(panel.minimumWidth(), 500);
}

TEST_F(PreviewPanelTest, liesOnTheNeutralGround) {
    EXPECT_EQ(QColor(panel.grab().toImage().pixel(3, 3)), previewGround(panel.palette()));
}

TEST_F(PreviewPanelTest, invitationStandsInTheMiddle) {
    QWidget* title = textShown(panel, "Drop image here");
    QWidget* word = textShown(panel, "or");
    auto* choose = control<QPushButton>(panel, "Choose File...");
    ASSERT_TRUE(title && word && choose);
    const auto box = [this](QWidget* widget) {
        return QRect(widget->mapTo(&panel, QPoint()), widget->size());
    };
    for (QWidget* widget : {title, word, static_cast<QWidget*>(choose)})
        EXPECT_NEAR(box(widget).center().x(), 390, 1);
    EXPECT_EQ(box(word).top() - box(title).bottom() - 1, 16);
    EXPECT_EQ(box(choose).top() - box(word).bottom() - 1, 16);
    EXPECT_GT(title->font().pointSizeF(), QApplication::font().pointSizeF() * 1.2);
}

TEST_F(PreviewPanelTest, invitationIsSecondaryAndItsTitleLarger) {
    const QFont base = QApplication::font();
    const QColor secondary = colorFor(Tone::secondary, QApplication::palette());
    for (const auto& [words, size] :
         {std::pair("Drop image here", TextSize::title2), {"or", TextSize::body}}) {
        QWidget* found = textShown(panel, words);
        ASSERT_NE(found, nullptr) << words;
        EXPECT_EQ(found->font(), fontFor(size, base)) << words;
        EXPECT_EQ(found->palette().color(QPalette::WindowText), secondary) << words;
    }
}

TEST_F(PreviewPanelTest, invitationHasASymbolAboveItsTitle) {
    QWidget* title = textShown(panel, "Drop image here");
    const QRect place(title->mapTo(&panel, QPoint()), title->size());
    const QImage image = panel.grab().toImage();
    QRect ink;
    for (int y = 0; y < place.top(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != image.pixel(3, 3))
                ink |= QRect(x, y, 1, 1);
    EXPECT_NEAR(ink.height(), 56, 1);
    EXPECT_NEAR(ink.center().x(), 390, 2);
    EXPECT_NEAR(place.top() - ink.bottom() - 1, 16, 1) << "the ink ends on a part of a pixel";
    const QColor secondary = colorFor(Tone::secondary, QApplication::palette());
    int darkest = 255;
    for (int y = ink.top(); y <= ink.bottom(); ++y)
        for (int x = ink.left(); x <= ink.right(); ++x)
            darkest = std::min(darkest, qRed(image.pixel(x, y)));
    EXPECT_NEAR(darkest, secondary.red(), 2);
}

TEST_F(PreviewPanelTest, invitationOpensTheFileDialog) {
    control<QPushButton>(panel, "Choose File...")->click();
    EXPECT_TRUE(pm->showFileImporter);
}

} // namespace
} // namespace lumivert
