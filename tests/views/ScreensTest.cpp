// With the screens of two-screens.json, of one, two and one and a half pixels a point.

#include "views/ContentView.h"
#include "views/ViewFixture.h"
#include "views/preview/PaperPreview.h"

#include <QImage>
#include <QScreen>
#include <QWindow>

#include <memory>
#include <set>

namespace lumivert {
namespace {

/// Shows the second screen in its own colours.
class ColorsOfTheSecond : public ScreenColors {
public:
    std::shared_ptr<const ScreenConversion> conversionFor(const std::string& screen) override {
        return screen == "second" ? inverted : nullptr;
    }

private:
    std::shared_ptr<const ScreenConversion> inverted =
        std::make_shared<ScreenConversion>([](std::span<std::uint32_t> pixels) {
            for (std::uint32_t& pixel : pixels)
                pixel ^= 0x00ffffff;
        });
};

class ScreensTest : public ViewTest {
protected:
    ScreensTest() {
        load({600, 400});
        pm->savePreset("One");
        pm->sizingMode = SizingMode::imageSize;
        pm->imageSizeCentered = false;
        pm->lastPrintError = "Print failed";
    }

    std::unique_ptr<ContentView> windowOn(QScreen* screen) {
        auto window = std::make_unique<ContentView>(
            *pm, fakes.dispatcher, [](const QMimeData&) { return ItemProviders(); }, &colors,
            [] { return "CUPS"; });
        window->winId();
        window->windowHandle()->setScreen(screen);
        window->resize(1100, 750);
        window->show();
        return window;
    }
    static QImage painted(ContentView& window) {
        QApplication::processEvents();
        if (QWidget* focused = window.focusWidget())
            focused->clearFocus();
        const auto* preview = window.findChild<PaperPreview*>();
        EXPECT_TRUE(QTest::qWaitFor([&] { return preview->isSettled(); }));
        return window.grab().toImage();
    }

    ColorsOfTheSecond colors;
};

TEST_F(ScreensTest, leaveNothingOfTheOneBefore) {
    const QList<QScreen*> screens = QGuiApplication::screens();
    ASSERT_EQ(screens.size(), 3);
    const std::unique_ptr<ContentView> window = windowOn(screens[0]);
    std::set<int> widths{painted(*window).width()};
    for (const int next : {1, 2, 0, 2, 1, 0}) {
        window->windowHandle()->setScreen(screens[next]);
        window->resize(1100, 750); // it may have kept its pixels
        const std::unique_ptr<ContentView> fresh = windowOn(screens[next]);
        const QImage moved = painted(*window);
        EXPECT_EQ(moved, painted(*fresh)) << screens[next]->name().toStdString();
        EXPECT_EQ(moved.devicePixelRatio(), screens[next]->devicePixelRatio());
        widths.insert(moved.width());
    }
    EXPECT_EQ(widths, (std::set<int>{1100, 1650, 2200}));
}

TEST_F(ScreensTest, showThePhotoInTheirOwnColours) {
    const QList<QScreen*> screens = QGuiApplication::screens();
    const std::unique_ptr<ContentView> window = windowOn(screens[0]);
    const auto middle = [&] {
        const auto* preview = window->findChild<PaperPreview*>();
        const QImage image = painted(*window);
        const QPoint center = preview->mapTo(window.get(), preview->rect().center());
        return qRed(image.pixel(center * image.devicePixelRatio()));
    };
    const int usual = middle();
    window->windowHandle()->setScreen(screens[1]);
    EXPECT_EQ(middle(), 255 - usual);
    window->windowHandle()->setScreen(screens[2]);
    EXPECT_EQ(middle(), usual);
}

} // namespace
} // namespace lumivert
