#include "views/controls/Appearance.h"

#include "views/controls/ControlFixture.h"

#include <QImage>

#include <vector>

namespace lumivert {
namespace {

std::vector<QPalette> palettes() {
    return {QPalette(QColor(0xef, 0xef, 0xef)), darkPalette(), QPalette(QColor(0xff, 0xff, 0xff)),
            QPalette(QColor(0x10, 0x10, 0x10)), QPalette(QColor(0x80, 0x70, 0x50))};
}

TEST(ContrastRatio, isThatOfWcag) {
    EXPECT_NEAR(contrastRatio(Qt::black, Qt::white), 21, 1e-9);
    EXPECT_NEAR(contrastRatio(Qt::white, Qt::black), 21, 1e-9);
    EXPECT_NEAR(contrastRatio(Qt::red, Qt::red), 1, 1e-9);
    EXPECT_NEAR(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.005);
}

TEST(ReadableOn, keepsAColourThatIsReadable) {
    EXPECT_EQ(readableOn(Qt::white, QColor(0x20, 0x20, 0x80)), QColor(0x20, 0x20, 0x80));
}

TEST(ReadableOn, movesAwayFromTheGround) {
    EXPECT_LT(readableOn(Qt::white, QColor(0xe0, 0x7a, 0)).lightness(),
              QColor(0xe0, 0x7a, 0).lightness());
    EXPECT_GT(readableOn(Qt::black, QColor(0x40, 0, 0)).lightness(),
              QColor(0x40, 0, 0).lightness());
}

TEST(Tones, keepTheLeastContrastOnEveryPalette) {
    for (const QPalette& palette : palettes())
        for (const Tone tone : {Tone::secondary, Tone::warning, Tone::error})
            EXPECT_GE(contrastRatio(colorFor(tone, palette), palette.color(QPalette::Window)),
                      leastContrast)
                << palette.color(QPalette::Window).name().toStdString();
}

TEST(Tones, warningIsOrangeAndErrorIsRed) {
    for (const QPalette& palette : {QPalette(QColor(0xef, 0xef, 0xef)), darkPalette()}) {
        EXPECT_NEAR(colorFor(Tone::warning, palette).hslHue(), 33, 12);
        const int red = colorFor(Tone::error, palette).hslHue();
        EXPECT_TRUE(red < 15 || red > 345) << red;
    }
}

TEST(Accent, keepsTheLeastContrastToItsText) {
    for (const QPalette& palette : palettes())
        EXPECT_GE(contrastRatio(accentFill(palette), palette.color(QPalette::HighlightedText)),
                  leastContrast);
}

TEST(PreviewGround, isNeutralAndFollowsThePalette) {
    QPalette tinted(QColor(0xef, 0xef, 0xef));
    tinted.setColor(QPalette::Base, QColor(0xff, 0xf0, 0xd0));
    const QColor ground = previewGround(tinted);
    EXPECT_EQ(ground.saturation(), 0);
    EXPECT_LT(ground.lightness(), 0xf0) << "the paper stands out";
    EXPECT_LT(previewGround(darkPalette()).lightness(), 0x40);
}

TEST(TextStyle, followsTheApplicationsPalette) {
    QLabel label("warning");
    setTextStyle(&label, TextSize::caption, Tone::warning);
    const QColor onLight = label.palette().color(QPalette::WindowText);
    EXPECT_GE(contrastRatio(onLight, QApplication::palette().color(QPalette::Window)),
              leastContrast);
    const WithPalette dark(darkPalette());
    const QColor onDark = label.palette().color(QPalette::WindowText);
    EXPECT_NE(onDark, onLight);
    EXPECT_GE(contrastRatio(onDark, QApplication::palette().color(QPalette::Window)),
              leastContrast);
}

TEST(TextStyle, standsOutNoMoreThanOtherTextsInAWindowThatIsNotInUse) {
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Inactive, QPalette::WindowText, QColor(0x8b, 0x8e, 0x8f));
    const WithPalette fading(palette);
    QLabel label("detail");
    setTextStyle(&label, TextSize::caption, Tone::secondary);
    const QColor ground = palette.color(QPalette::Window);
    const auto contrast = [&](const QPalette& of, QPalette::ColorGroup group) {
        return contrastRatio(of.color(group, QPalette::WindowText), ground);
    };
    EXPECT_LE(contrast(label.palette(), QPalette::Inactive),
              contrast(palette, QPalette::Inactive) * 1.05);
    EXPECT_GE(contrast(label.palette(), QPalette::Active), leastContrast);
}

TEST(TextStyle, followsTheApplicationsFont) {
    QLabel label("text");
    setTextStyle(&label, TextSize::caption, Tone::primary);
    const QFont before = QApplication::font();
    const double size = label.font().pointSizeF();
    EXPECT_LT(size, before.pointSizeF());
    QFont larger = before;
    larger.setPointSizeF(before.pointSizeF() * 2);
    QApplication::setFont(larger);
    QApplication::processEvents();
    EXPECT_NEAR(label.font().pointSizeF(), size * 2, 0.1);
    QApplication::setFont(before);
}

TEST(TextSizes, areOrderedAsTheirRoles) {
    const QFont base("DejaVu Sans", 10);
    const auto size = [&](TextSize role) { return fontFor(role, base).pointSizeF(); };
    EXPECT_EQ(size(TextSize::body), 10);
    EXPECT_GT(size(TextSize::title2), size(TextSize::headline));
    EXPECT_LT(size(TextSize::callout), size(TextSize::body));
    EXPECT_LT(size(TextSize::caption), size(TextSize::callout));
    EXPECT_TRUE(fontFor(TextSize::headline, base).bold());
    EXPECT_NE(fontFor(TextSize::monospacedCaption, base).family(), base.family());
}

TEST(TextSizes, scaleAFontGivenInPixelsToo) {
    QFont base("DejaVu Sans");
    base.setPixelSize(20);
    EXPECT_EQ(fontFor(TextSize::title2, base).pixelSize(), 28);
}

} // namespace
} // namespace lumivert
