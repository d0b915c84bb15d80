#include "colour/ColorProfiles.h"
#include "colour/Matchers.h"
#include "journey/DriverlessPrinter.h"
#include "journey/JourneyWorld.h"
#include "journey/Widgets.h"
#include "manager/PrintManager.h"
#include "platform/posix/PosixFunctions.h"
#include "support/PrivateScheduler.h"
#include "views/PreviewPanel.h"
#include "views/preview/PaperPreview.h"

#include <QPainter>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

// The sheet that arrives at a driverless printer beside the preview: its size, where the photo lies
// on it, and its colours, which the preview shows as the chosen profile means them.
namespace lumivert {
namespace {

constexpr double placeToleranceMM = 0.2;
constexpr double colorTolerance = 1; // of 255
constexpr double pixelsPerMM = 300 / 25.4;
constexpr auto queue = "Photo";

// Flat patches between light and dark, within a red border.
void writePatches(const std::string& path) {
    QImage photo(800, 1200, QImage::Format_RGB32);
    photo.fill(QColor(200, 40, 30));
    QPainter painter(&photo);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 6; ++x)
            painter.fillRect(100 + 100 * x, 100 + 100 * y, 100, 100,
                             QColor(70 + 25 * x, 200 - 12 * y, 60 + 17 * ((x + y) % 8)));
    painter.end();
    if (!photo.save(QString::fromStdString(path), "PNG"))
        throw std::runtime_error("the photo could not be written");
}

bool isRed(QColor color) {
    return color.red() > 150 && color.green() < 100 && color.blue() < 100;
}

/// The border's outer edges in millimetres.
QRectF photoOn(const QImage& sheet, QSizeF sheetMM) {
    QRect area;
    for (int y = 0; y < sheet.height(); ++y)
        for (int x = 0; x < sheet.width(); ++x)
            if (isRed(sheet.pixelColor(x, y)))
                area |= QRect(x, y, 1, 1);
    const double mmX = sheetMM.width() / sheet.width();
    const double mmY = sheetMM.height() / sheet.height();
    return {area.x() * mmX, area.y() * mmY, area.width() * mmX, area.height() * mmY};
}

/// The colour at a place given in parts of the sheet, where all is even for `reach` pixels around.
std::optional<Color> colorAt(const QImage& sheet, double x, double y, int reach) {
    const QPoint middle(qRound(x * sheet.width()), qRound(y * sheet.height()));
    const QRgb color = sheet.pixel(middle);
    for (int dy = -reach; dy <= reach; ++dy)
        for (int dx = -reach; dx <= reach; ++dx)
            if (sheet.pixel(middle + QPoint(dx, dy)) != color)
                return std::nullopt;
    return Color{qRed(color) / 255.0, qGreen(color) / 255.0, qBlue(color) / 255.0};
}

struct Sheet {
    const char* paper;
    const char* pageSize;
    QSizeF sizeMM;
    bool borderless;
};

void PrintTo(const Sheet& sheet, std::ostream* out) {
    *out << sheet.pageSize;
}

class Driverless : public testing::TestWithParam<Sheet> {
protected:
    static void SetUpTestSuite() {
        if (!DriverlessPrinter::isInstalled())
            return;
        shared = std::make_unique<Shared>();
        shared->scheduler.addDriverlessQueue(queue, shared->printer.uri());
        const SchedulerEnvironment environment(shared->scheduler);
        const auto result = runProcess(LUMIVERT_PREPARE_QUEUE, {"--apply", queue});
        ASSERT_EQ(std::get<ProcessOutcome>(result).exitStatus, 0)
            << std::get<ProcessOutcome>(result).output;
    }
    static void TearDownTestSuite() { shared.reset(); }

    void SetUp() override {
        if (!shared)
            GTEST_SKIP() << "ippeveprinter is missing (Debian package cups-ipp-utils)";
    }

    // The sheet alone, at about ten pixels a millimetre, as it settles.
    static QImage previewed(PreviewPanel& panel) {
        auto& preview = *panel.findChild<PaperPreview*>();
        panel.resize(2300, 3100);
        panel.show();
        QApplication::processEvents();
        (void)preview.grab(); // asks for the picture, where a new one is needed
        EXPECT_TRUE(QTest::qWaitFor([&] { return preview.isSettled(); }, 20'000));
        const RectPoints sheet = preview.currentLayout().sheet;
        return preview.grab().toImage().copy(
            QRectF(sheet.x, sheet.y, sheet.width, sheet.height).toRect());
    }

    struct Shared {
        DriverlessPrinter printer;
        PrivateScheduler scheduler;
    };
    static inline std::unique_ptr<Shared> shared;
};

TEST_P(Driverless, getsTheSheetThatThePreviewShows) {
    const Sheet& sheet = GetParam();
    const TemporaryFolder folder;
    const SchedulerEnvironment environment(shared->scheduler);
    const ScopedEnvironment temporary("TMPDIR", folder.path());
    const ScopedEnvironment profiles("XDG_DATA_HOME", folder / "data");
    JourneyWorld world(folder, shared->scheduler.ppdFolder());
    PrintManager manager(world.platform());
    writePatches(folder / "photo.png");
    const std::string profile = folder.write("data/icc/paper.icc", matrixPaperProfile());

    manager.detectPrinters();
    ASSERT_EQ(manager.selectedPrinterID.get(), queue);
    manager.loadPaperSizes(queue);
    manager.loadMediaTypes(queue);
    manager.selectedPaperSizeID = sheet.paper;
    ASSERT_NEAR(manager.selectedPaperSize().widthMM, sheet.sizeMM.width(), 0.1);
    ASSERT_NEAR(manager.selectedPaperSize().heightMM, sheet.sizeMM.height(), 0.1);
    manager.selectedICCProfileID = profile;
    manager.renderingIntent = RenderingIntent::relative;
    manager.borderless = sheet.borderless;
    manager.margins = Margins{.top = 10, .bottom = 8, .left = 6, .right = 12};
    manager.scalingMode = sheet.borderless ? ScalingMode::fillPage : ScalingMode::fitToPage;
    manager.loadImage(FileUrl::fromPath(folder / "photo.png"));
    ASSERT_EQ(manager.selectedICCProfile().path, profile);
    PreviewPanel panel(manager);
    const QImage shown = previewed(panel);

    manager.sendToCUPS(false);
    ASSERT_EQ(manager.lastPrintError.get(), std::nullopt);
    EXPECT_THAT(**manager.lastCUPSCommand,
                testing::HasSubstr(std::string(" PageSize=") + sheet.pageSize + ' '));
    const QImage arrived = shared->printer.takeSheet();

    EXPECT_NEAR(arrived.width() / pixelsPerMM, sheet.sizeMM.width(), placeToleranceMM);
    EXPECT_NEAR(arrived.height() / pixelsPerMM, sheet.sizeMM.height(), placeToleranceMM);
    const QRectF onPaper = photoOn(arrived, sheet.sizeMM);
    const QRectF onScreen = photoOn(shown, sheet.sizeMM);
    EXPECT_NEAR(onPaper.left(), onScreen.left(), placeToleranceMM);
    EXPECT_NEAR(onPaper.top(), onScreen.top(), placeToleranceMM);
    EXPECT_NEAR(onPaper.right(), onScreen.right(), placeToleranceMM);
    EXPECT_NEAR(onPaper.bottom(), onScreen.bottom(), placeToleranceMM);

    std::vector<Color> onScreenColors;
    std::vector<Color> deviceColors;
    for (double y = 0.02; y < 1; y += 0.02)
        for (double x = 0.02; x < 1; x += 0.02) {
            const auto device = colorAt(arrived, x, y, 6);
            const auto screen = colorAt(shown, x, y, 6);
            if (device && screen) {
                deviceColors.push_back(*device);
                onScreenColors.push_back(*screen);
            }
        }
    EXPECT_GT(deviceColors.size(), 400U);
    // Chosen so that numbers that nobody converted would show.
    EXPECT_FALSE(areWithin(8, deviceColors, onScreenColors));
    EXPECT_TRUE(areWithin(colorTolerance, deviceColors,
                          convertedByLittleCms(onScreenColors, srgbProfile(), matrixPaperProfile(),
                                               RenderingIntent::relative)));
}

INSTANTIATE_TEST_SUITE_P(Sheets, Driverless,
                         testing::Values(Sheet{"A4", "A4", {210, 297}, false},
                                         Sheet{"A4", "A4.Fullbleed", {210, 297}, true},
                                         Sheet{"4x6", "4x6", {101.6, 152.4}, false},
                                         Sheet{"4x6", "4x6.Fullbleed", {101.6, 152.4}, true}),
                         [](const auto& test) {
                             return "of" + std::string(test.param.paper) +
                                    (test.param.borderless ? "Borderless" : "");
                         });

} // namespace
} // namespace lumivert
