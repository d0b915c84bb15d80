#include "journey/JourneyWorld.h"
#include "journey/Raster.h"
#include "journey/TestPhoto.h"
#include "journey/Widgets.h"
#include "manager/PrintManager.h"
#include "support/ScopedEnvironment.h"
#include "views/PreviewPanel.h"
#include "views/preview/PaperPreview.h"

#include <QApplication>
#include <QPainter>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

// The preview beside the paper, as pictures. Both are drawn with the sheet at the same number of
// pixels. Tolerances: edges may be one and a half pixels apart (0.4 mm on a 4x6 sheet, 1.1 mm on
// A3), and apart from the neighbourhood of edges and of the outline no pixel may differ by more
// than 24 of 255.
namespace lumivert {
namespace {

constexpr int edgeReach = 2;
constexpr int colorTolerance = 24;

struct Case {
    const char* paper;
    PaperOrientation orientation;
    bool landscapePhoto;
    SizingMode sizing;
    bool centered;
    ScalingMode scaling;
    bool borderless;
};

class PreviewAndPaper : public testing::Test {
protected:
    PreviewAndPaper()
        : m_world(m_folder, m_folder / "ppd/")
        , m_temporary("TMPDIR", m_folder.path())
        , m_manager(m_world.platform())
        , m_panel(m_manager)
        , m_preview(*m_panel.findChild<PaperPreview*>()) {
        writeTestPhoto(m_folder / "portrait.jpg", {800, 1200}, 300);
        writeTestPhoto(m_folder / "landscape.jpg", {1200, 800}, 300);
        m_manager.availablePaperSizes = {
            defaultPaperSize(),
            {"A3", "A3", 297, 420, "A3", std::nullopt},
            {"Letter", "Letter", 215.9, 279.4, "Letter", std::nullopt},
            {"4x6", "4x6", 101.6, 152.4, "4x6", std::nullopt},
        };
        m_panel.resize(400, 540);
        m_panel.show();
    }

    void apply(const Case& c) {
        m_manager.selectedPaperSizeID = c.paper;
        m_manager.orientation = c.orientation;
        m_manager.sizingMode = c.sizing;
        m_manager.imageSizeCentered = c.centered;
        m_manager.margins = {.top = 6, .bottom = 14, .left = 9, .right = 20};
        m_manager.imageWidthMM = 70;
        m_manager.imageHeightMM = 90;
        m_manager.imageSizeMarginTop = 12;
        m_manager.imageSizeMarginLeft = 8;
        m_manager.scalingMode = c.scaling;
        m_manager.borderless = c.borderless;
    }

    // The sheet alone, as it settles.
    QImage previewedSheet() {
        QApplication::processEvents();
        (void)m_preview.grab(); // asks for the picture, where a new one is needed
        EXPECT_TRUE(QTest::qWaitFor([&] { return m_preview.isSettled(); }, 20000));
        const RectPoints sheet = m_preview.currentLayout().sheet;
        const QImage view = m_preview.grab().toImage().convertToFormat(QImage::Format_RGB32);
        return view.copy(QRectF(sheet.x, sheet.y, sheet.width, sheet.height).toRect());
    }

    QImage printedSheet(QSize size) {
        m_manager.sendToCUPS(true);
        const QImage page = rasterised(m_world.opened.back(), size);
        std::filesystem::remove(m_world.opened.back());
        return page;
    }

    TemporaryFolder m_folder;
    JourneyWorld m_world;
    ScopedEnvironment m_temporary;
    PrintManager m_manager;
    PreviewPanel m_panel;
    PaperPreview& m_preview;
};

int difference(QRgb a, QRgb b) {
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                     std::abs(qBlue(a) - qBlue(b))});
}

QRgb at(const QImage& image, int x, int y) {
    return reinterpret_cast<const QRgb*>(image.constScanLine(y))[x];
}

// Whether a pixel of about that colour stands in `image` within `edgeReach` of (x, y).
bool standsNear(const QImage& image, int x, int y, QRgb color) {
    for (int dy = -edgeReach; dy <= edgeReach; ++dy)
        for (int dx = -edgeReach; dx <= edgeReach; ++dx)
            if (difference(at(image, x + dx, y + dy), color) <= colorTolerance)
                return true;
    return false;
}

// Whether the pixels around (x, y) are about the same: blends along an edge have no match.
bool isEven(const QImage& image, int x, int y) {
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
            if (difference(at(image, x, y), at(image, x + dx, y + dy)) > colorTolerance / 2)
                return false;
    return true;
}

// Pixels that stand amid their like in one picture and have no match nearby in the other.
int mismatches(const QImage& a, const QImage& b, const QRect& outline) {
    const QRect inner = outline.adjusted(3, 3, -3, -3);
    const QRect outer = outline.adjusted(-3, -3, 3, 3);
    const auto isLost = [](const QImage& from, const QImage& in, int x, int y) {
        return isEven(from, x, y) && !standsNear(in, x, y, at(from, x, y));
    };
    int count = 0;
    // The sheet's rounded corners and blended rim are the preview's alone, as is the outline.
    for (int y = 4; y < a.height() - 4; ++y)
        for (int x = 4; x < a.width() - 4; ++x)
            if (difference(at(a, x, y), at(b, x, y)) > colorTolerance &&
                (inner.contains(x, y) || !outer.contains(x, y)))
                count += isLost(a, b, x, y) || isLost(b, a, x, y);
    return count;
}

TEST_F(PreviewAndPaper, showTheSameSheet) {
    m_manager.availablePrinters = {{"Q", "Q"}};
    m_manager.selectedPrinterID = "Q";
    int compared = 0;
    for (const bool landscapePhoto : {false, true}) {
        m_manager.loadImage(
            FileUrl::fromPath(m_folder / (landscapePhoto ? "landscape.jpg" : "portrait.jpg")));
        for (const char* paper : {"A4", "A3", "Letter", "4x6"})
            for (const auto orientation : {PaperOrientation::auto_, PaperOrientation::portrait})
                for (const int sizing : {0, 1, 2})
                    for (const auto scaling : {ScalingMode::fitToPage, ScalingMode::fillPage})
                        for (const bool borderless : {false, true}) {
                            const Case c{paper,
                                         orientation,
                                         landscapePhoto,
                                         sizing == 0 ? SizingMode::margins : SizingMode::imageSize,
                                         sizing == 1,
                                         scaling,
                                         borderless};
                            // The preview turns the sheet for these and the page is never turned.
                            if (landscapePhoto && orientation == PaperOrientation::auto_)
                                continue;
                            // Without margins the sizing has no say.
                            if (borderless && sizing != 0)
                                continue;
                            apply(c);
                            SCOPED_TRACE(testing::Message()
                                         << paper << (landscapePhoto ? " landscape photo" : "")
                                         << " orientation " << rawValue(orientation) << " sizing "
                                         << sizing << " " << rawValue(scaling)
                                         << (borderless ? " borderless" : ""));
                            const QImage preview = previewedSheet();
                            const QImage page = printedSheet(preview.size());
                            const RectPoints frame = m_preview.currentLayout().frame;
                            const QRect outline =
                                QRectF(frame.x, frame.y, frame.width, frame.height).toRect();
                            EXPECT_EQ(mismatches(preview, page, outline), 0);
                            ++compared;
                        }
    }
    EXPECT_EQ(compared, 4 * 3 * (3 * 2 + 2));
}

TEST_F(PreviewAndPaper, differForALandscapeSheetAlone) {
    m_manager.availablePrinters = {{"Q", "Q"}};
    m_manager.selectedPrinterID = "Q";
    m_manager.loadImage(FileUrl::fromPath(m_folder / "landscape.jpg"));
    QCoreApplication::sendPostedEvents(); // the preview is brought up to date
    const RectPoints sheet = m_preview.currentLayout().sheet;
    EXPECT_GT(sheet.width, sheet.height);
    m_manager.sendToCUPS(true);
    const QSizeF page = pageSizePoints(m_world.opened.back());
    EXPECT_LT(page.width(), page.height());
}

TEST_F(PreviewAndPaper, differForActualSizeAlone) {
    m_manager.availablePrinters = {{"Q", "Q"}};
    m_manager.selectedPrinterID = "Q";
    m_manager.loadImage(FileUrl::fromPath(m_folder / "portrait.jpg"));
    m_manager.scalingMode = ScalingMode::actualSize;
    // 800 x 1200 at 300 dpi on A4, in the middle of it: 67.7 x 101.6 mm.
    m_manager.sendToCUPS(true);
    const QRect ink = inkedArea(rasterised(m_world.opened.back(), {2100, 2970}));
    EXPECT_NEAR(ink.width(), 677.3, 3);
    EXPECT_NEAR(ink.height(), 1016, 3);
    EXPECT_NEAR(ink.center().x(), 1050, 3);
    const QRect shown = inkedArea(previewedSheet());
    EXPECT_GT(shown.width(), m_preview.currentLayout().frame.width - 4);
}

} // namespace
} // namespace lumivert
