#include "views/SettingsTexts.h"

#include <gtest/gtest.h>

namespace lumivert {
namespace {

TEST(PixelSizeText, isWidthTimesHeight) {
    EXPECT_EQ(pixelSizeText({6000, 4000}), "6000 × 4000 px");
}

TEST(PrinterTitle, hasBlanksForUnderscores) {
    EXPECT_EQ(printerTitle({"Photo_Printer_A3", "Photo_Printer_A3"}), "Photo Printer A3");
    EXPECT_EQ(printerTitle({"x", "__"}), "  ");
}

TEST(MarginsText, hasOneDecimalEachInTheirOrder) {
    EXPECT_EQ(marginsText({.top = 20, .bottom = 20, .left = 35.5, .right = 35.5}),
              "T 20.0  B 20.0  L 35.5  R 35.5 mm");
    EXPECT_EQ(marginsText({.top = -5, .bottom = 0.04, .left = 100, .right = 0}),
              "T -5.0  B 0.0  L 100.0  R 0.0 mm");
}

TEST(BlankName, isOfSpacesAndTabsAlone) {
    for (const char* blank : {"", " ", "\t", " \t "})
        EXPECT_TRUE(isBlankName(blank));
    for (const char* name : {"a", "  a ", "\n", "\u00a0"})
        EXPECT_FALSE(isBlankName(name));
}

TEST(ConfirmationText, namesSizeMediaAndBorders) {
    const PaperSize paper{"A4", "A4 (210 × 297 mm)", 210, 297, "A4", std::nullopt};
    const PaperType type{"Glossy", "Premium Glossy", "Glossy"};
    EXPECT_EQ(confirmationText(paper, type, true), "A4 (210 × 297 mm)\nPremium Glossy\nBorderless");
    EXPECT_EQ(confirmationText(paper, type, false),
              "A4 (210 × 297 mm)\nPremium Glossy\nWith margins");
}

} // namespace
} // namespace lumivert
