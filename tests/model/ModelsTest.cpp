#include "model/Models.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace lumivert {
namespace {

// Equal to itself and to a copy, with one hash; different from every variant, in both.
template <class Record>
void expectEveryFieldToCount(const Record& record, const std::vector<Record>& variants) {
    const Record copy = record;
    EXPECT_EQ(record, copy);
    EXPECT_EQ(std::hash<Record>{}(record), std::hash<Record>{}(copy));
    for (std::size_t i = 0; i < variants.size(); ++i) {
        SCOPED_TRACE("variant " + std::to_string(i));
        EXPECT_NE(record, variants[i]);
        EXPECT_NE(std::hash<Record>{}(record), std::hash<Record>{}(variants[i]));
    }
}

TEST(Models, comparePrintersByEveryField) {
    expectEveryFieldToCount<Printer>({"a", "b"}, {{"x", "b"}, {"a", "x"}, {"b", "a"}});
}

TEST(Models, comparePaperSizesByEveryField) {
    const PaperSize size{"a", "b", 1, 2, "c", "d"};
    expectEveryFieldToCount<PaperSize>(size, {{"x", "b", 1, 2, "c", "d"},
                                              {"a", "x", 1, 2, "c", "d"},
                                              {"a", "b", 9, 2, "c", "d"},
                                              {"a", "b", 1, 9, "c", "d"},
                                              {"a", "b", 1, 2, "x", "d"},
                                              {"a", "b", 1, 2, "c", "x"},
                                              {"a", "b", 1, 2, "c", std::nullopt},
                                              {"a", "b", 2, 1, "c", "d"}});
}

TEST(Models, comparePaperTypesByEveryField) {
    expectEveryFieldToCount<PaperType>(
        {"a", "b", "c"}, {{"x", "b", "c"}, {"a", "x", "c"}, {"a", "b", "x"}, {"b", "a", "c"}});
}

TEST(Models, compareProfilesByEveryField) {
    expectEveryFieldToCount<ICCProfile>({"a", "b", "c", false}, {{"x", "b", "c", false},
                                                                 {"a", "x", "c", false},
                                                                 {"a", "b", "x", false},
                                                                 {"a", "b", std::nullopt, false},
                                                                 {"a", "b", "c", true}});
}

TEST(Models, compareMarginsByEveryField) {
    static_assert(!std::is_default_constructible_v<std::hash<Margins>>, "never a key");
    const Margins margins{.top = 1, .bottom = 2, .left = 3, .right = 4};
    EXPECT_EQ(margins, (Margins{1, 2, 3, 4})) << "listed as top, bottom, left, right";
    EXPECT_NE(margins, (Margins{9, 2, 3, 4}));
    EXPECT_NE(margins, (Margins{1, 9, 3, 4}));
    EXPECT_NE(margins, (Margins{1, 2, 9, 4}));
    EXPECT_NE(margins, (Margins{1, 2, 3, 9}));
}

TEST(Models, tellAnAbsentBorderlessNameFromAnEmptyOne) {
    expectEveryFieldToCount<PaperSize>({"a", "b", 1, 2, "c", std::nullopt},
                                       {{"a", "b", 1, 2, "c", ""}});
    expectEveryFieldToCount<ICCProfile>({"a", "b", std::nullopt, false}, {{"a", "b", "", false}});
}

TEST(Models, giveEqualRecordsOneHashAlsoWhenTheirZeroesDifferInSign) {
    const PaperSize plus{"a", "b", 0.0, 0.0, "c", "d"};
    const PaperSize minus{"a", "b", -0.0, -0.0, "c", "d"};
    ASSERT_EQ(plus, minus);
    EXPECT_EQ(std::hash<PaperSize>{}(plus), std::hash<PaperSize>{}(minus));
}

TEST(Models, haveThreeBuiltInRecords) {
    EXPECT_EQ(defaultPaperSize(),
              (PaperSize{"A4", "A4 (210 \u00d7 297 mm)", 210.0, 297.0, "A4", std::nullopt}));
    EXPECT_EQ(automaticPaperType(), (PaperType{"auto", "Auto", "auto"}));
    EXPECT_EQ(printerManagedProfile(),
              (ICCProfile{"printer_managed", "Printer Managed (standard)", std::nullopt, false}));
}

// The cases are exactly these, in this order; each one's text is its raw value and identity, leads
// back to it, and no text that is close to it leads anywhere.
template <class Choice>
void expectCases(const std::vector<std::pair<Choice, std::string>>& expected) {
    ASSERT_EQ(allCases<Choice>().size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto& [choice, text] = expected[i];
        SCOPED_TRACE(text);
        EXPECT_EQ(allCases<Choice>()[i], choice);
        EXPECT_EQ(rawValue(choice), text);
        EXPECT_EQ(id(choice), text);
        EXPECT_EQ(fromRawValue<Choice>(text), choice);

        std::vector<std::string> near{"",
                                      text + " ",
                                      " " + text,
                                      text + text,
                                      text + '\0',
                                      text.substr(0, text.size() - 1),
                                      text.substr(1)};
        for (std::size_t at = 0; at < text.size(); ++at) {
            std::string other = text;
            other[at] = static_cast<char>(other[at] ^ 0x20); // the other case; a space vanishes
            near.push_back(other);
        }
        for (const std::string& other : near) {
            SCOPED_TRACE(other);
            EXPECT_EQ(fromRawValue<Choice>(other), std::nullopt);
        }
    }
}

TEST(Choices, ofOrientation) {
    expectCases<PaperOrientation>({{PaperOrientation::auto_, "Auto"},
                                   {PaperOrientation::portrait, "Portrait"},
                                   {PaperOrientation::landscape, "Landscape"}});
}

TEST(Choices, ofSizing) {
    expectCases<SizingMode>(
        {{SizingMode::margins, "Margins"}, {SizingMode::imageSize, "Image Size"}});
    for (const char* text : {"image size", "Image size", "ImageSize", "Image  Size", "imageSize"})
        EXPECT_EQ(fromRawValue<SizingMode>(text), std::nullopt) << text;
}

TEST(Choices, ofScaling) {
    expectCases<ScalingMode>({{ScalingMode::fitToPage, "Fit to Page"},
                              {ScalingMode::fillPage, "Fill Page (crop)"},
                              {ScalingMode::actualSize, "Actual Size"}});
    for (const char* text : {"Fill Page", "Fill Page ", "Fill Page(crop)", "Fill Page (Crop)"})
        EXPECT_EQ(fromRawValue<ScalingMode>(text), std::nullopt) << text;
}

TEST(Choices, ofRenderingIntent) {
    expectCases<RenderingIntent>({{RenderingIntent::perceptual, "Perceptual"},
                                  {RenderingIntent::relative, "Relative Colorimetric"},
                                  {RenderingIntent::saturation, "Saturation"},
                                  {RenderingIntent::absolute, "Absolute Colorimetric"}});
}

} // namespace
} // namespace lumivert
