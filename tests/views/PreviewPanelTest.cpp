#include "views/PreviewPanel.h"

#include "views/DropZoneView.h"
#include "views/PaperPreview.h"
#include "views/ViewFixture.h"
#include "views/controls/Appearance.h"

#include <QPushButton>

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

TEST_F(PreviewPanelTest, invitationOpensTheFileDialog) {
    control<QPushButton>(panel, "Choose File...")->click();
    EXPECT_TRUE(pm->showFileImporter);
}

} // namespace
} // namespace lumivert
