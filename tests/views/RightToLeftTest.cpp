#include "views/PanelFixture.h"
#include "views/controls/Appearance.h"
#include "views/controls/Labels.h"
#include "views/preview/PaperPreview.h"

#include <QImage>

namespace lumivert {
namespace {

struct Mirrored {
    Mirrored() { QApplication::setLayoutDirection(Qt::RightToLeft); }
    ~Mirrored() { QApplication::setLayoutDirection(Qt::LeftToRight); }
};

/// A panel of an application whose texts run from right to left.
class RightToLeftTest : private Mirrored, public PanelTest {
protected:
    QRect place(QWidget* widget) {
        QApplication::processEvents();
        return {widget->mapTo(panel.get(), QPoint()), widget->size()};
    }
    /// The first and the last column that is not as the widget's corner is.
    static std::pair<int, int> ink(QWidget* widget) {
        const QImage image = widget->grab().toImage();
        int first = image.width();
        int last = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixel(x, y) != image.pixel(0, 0)) {
                    first = std::min(first, x);
                    last = std::max(last, x);
                }
        return {first, last};
    }
};

TEST_F(RightToLeftTest, hasLabelsAtTheRightOfTheirControls) {
    EXPECT_GT(place(textShown(*panel, "Size")).left(), place(picker("Size")).right());
    QWidget* top = textShown(*panel, "Top:");
    QWidget* value = textShown(*panel, "5.0 mm");
    EXPECT_GT(place(top).left(), place(slider("Top")).right());
    EXPECT_LT(place(value).right(), place(slider("Top")).left());
    EXPECT_GE(ink(top).second, top->width() - 3) << "its text at the right of its frame";
    EXPECT_LE(ink(value).first, 3);
    EXPECT_GT(place(button("Margins")).left(), place(button("Image Size")).right());
}

TEST_F(RightToLeftTest, hasItsTextsAtTheRight) {
    pm->availablePrinters = std::vector<Printer>{};
    for (const char* words : {"No saved presets", "No printers found", "Mode"}) {
        QWidget* text = textShown(*panel, words);
        EXPECT_GE(ink(text).second, text->width() - 3) << words;
        EXPECT_GT(place(text).right(), 300 - 12 - 16) << words;
    }
}

TEST_F(RightToLeftTest, hasAnErrorWhereItsOtherTextsAreAndReadsACommandAsItIsTyped) {
    pm->lastPrintError = "Print failed";
    pm->lastCUPSCommand = "lp -d Photo";
    QWidget* error = textShown(*panel, "Print failed");
    QWidget* command = textShown(*panel, "lp -d Photo");
    QApplication::processEvents();
    EXPECT_GE(ink(error).second, error->width() - 3);
    EXPECT_LE(ink(command).first, 3);
}

TEST_F(RightToLeftTest, centresTheTextsOfButtonsWithAnIcon) {
    load({600, 400});
    for (const char* style : {"Fusion", "Windows"}) {
        QApplication::setStyle(style);
        for (const char* name : {"Save Current Settings", "Print", "Show CUPS Command"}) {
            const QImage image = button(name)->grab().toImage();
            const QRgb ground = image.pixel(12, 8);
            int first = image.width();
            int last = 0;
            for (int y = 8; y < image.height() - 8; ++y)
                for (int x = 8; x < image.width() - 8; ++x)
                    if (qAbs(qGray(image.pixel(x, y)) - qGray(ground)) > 60) {
                        first = std::min(first, x);
                        last = std::max(last, x);
                    }
            EXPECT_NEAR(first, image.width() - 1 - last, 5) << name << " under " << style;
        }
    }
    QApplication::setStyle("Fusion");
}

TEST_F(RightToLeftTest, mirrorsItsPadding) {
    const QRect group = place(control<QGroupBox>(*panel, "Paper"));
    EXPECT_EQ(320 - group.right() - 1, 16);
    EXPECT_GT(group.left(), 0);
    pm->savePreset("One");
    const QRect preset = place(button("One"));
    const QRect bin = place(button("Delete One"));
    EXPECT_GT(preset.left(), bin.right());
    const QRect save = place(button("Save Current Settings"));
    EXPECT_GT(preset.right(), save.right()) << "the wash under the pointer overhangs";
    EXPECT_EQ(bin.left(), save.left());
}

TEST_F(RightToLeftTest, mirrorsItsSliders) {
    pm->margins = Margins{.top = 10, .bottom = 5, .left = 5, .right = 5};
    QWidget* top = slider("Top");
    const QImage image = top->grab().toImage();
    const QRgb passed = focusColor(QApplication::palette()).rgb();
    const int middle = image.height() / 2;
    EXPECT_EQ(image.pixel(image.width() - 6, middle), passed) << "what lies before the knob";
    EXPECT_NE(image.pixel(6, middle), passed);
    QTest::keyClick(top, Qt::Key_Left);
    EXPECT_EQ(pm->margins->top, 10.5);
}

TEST_F(RightToLeftTest, isWalkedThroughInTheSameOrder) {
    panel->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.get()));
    picker("Size")->setFocus();
    QStringList names;
    for (int i = 0; i < 6; ++i) {
        names << accessibleName(QApplication::focusWidget());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(names.join(", "), "Size, Type, Orientation, Borderless, Margins, Top");
}

TEST_F(RightToLeftTest, leavesTheSheetAsItIsPrinted) {
    load({300, 200});
    pm->margins = Margins{.top = 0, .bottom = 0, .left = 60, .right = 0};
    const auto painted = [this] {
        PaperPreview preview(*pm);
        preview.resize(500, 674);
        keepFresh(&preview, *pm);
        preview.show();
        EXPECT_TRUE(QTest::qWaitFor([&] { return preview.isSettled(); }));
        return preview.grab().toImage();
    };
    const QImage mirrored = painted();
    QApplication::setLayoutDirection(Qt::LeftToRight);
    EXPECT_EQ(mirrored, painted());
}

} // namespace
} // namespace lumivert
