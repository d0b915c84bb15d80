#include "platform/pdf/PdfFile.h"
#include "platform/pdf/PdfPageWriter.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <locale>

namespace lumivert {
namespace {

struct CommaPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(PdfText, writesTheShortestDecimalThatReadsBackEqual) {
    EXPECT_EQ(pdfNumber(0), "0");
    EXPECT_EQ(pdfNumber(-0.0), "0");
    EXPECT_EQ(pdfNumber(1), "1");
    EXPECT_EQ(pdfNumber(-28.5), "-28.5");
    EXPECT_EQ(pdfNumber(210 * 72.0 / 25.4), "595.2755905511812");
    EXPECT_EQ(pdfNumber(10 * 72.0 / 25.4), "28.34645669291339");
}

TEST(PdfText, neverWritesAnExponent) {
    EXPECT_EQ(pdfNumber(1e-7), "0.0000001");
    EXPECT_EQ(pdfNumber(1.5e9), "1500000000");
    EXPECT_EQ(pdfNumber(5e-324), "0");
    EXPECT_EQ(pdfNumber(-1e-13), "0");
}

TEST(PdfText, staysWithinWhatReadersHold) {
    EXPECT_EQ(pdfNumber(1e300), "2147483647");
    EXPECT_EQ(pdfNumber(-1e300), "-2147483647");
    EXPECT_EQ(pdfNumber(std::numeric_limits<double>::infinity()), "2147483647");
    EXPECT_EQ(pdfNumber(-std::numeric_limits<double>::infinity()), "-2147483647");
    EXPECT_EQ(pdfNumber(std::numeric_limits<double>::quiet_NaN()), "0");
}

TEST(PdfText, doesNotFollowTheLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaPoint));
    std::setlocale(LC_ALL, "");
    const std::string text = pdfNumber(1234.5);
    std::setlocale(LC_ALL, "C");
    std::locale::global(before);
    EXPECT_EQ(text, "1234.5");
}

// Where the stored image's corners come to lie on the page.
using Corner = std::pair<double, double>;
Corner placed(const PdfMatrix& m, double u, double v) {
    return {m[0] * u + m[2] * v + m[4], m[1] * u + m[3] * v + m[5]};
}

TEST(PdfText, placesTheFirstPixelWhereTheOrientationSays) {
    const RectPoints rect{10, 20, 30, 40};
    const Corner topLeft{10, 60};
    const Corner topRight{40, 60};
    const Corner bottomRight{40, 20};
    const Corner bottomLeft{10, 20};
    // The corner that the first pixel of the first row lies in (CIPA DC-008, tag 0x0112), and the
    // one that the first row runs to.
    const struct {
        int orientation;
        Corner first;
        Corner endOfFirstRow;
    } cases[] = {
        {1, topLeft, topRight},       {2, topRight, topLeft},   {3, bottomRight, bottomLeft},
        {4, bottomLeft, bottomRight}, {5, topLeft, bottomLeft}, {6, topRight, bottomRight},
        {7, bottomRight, topRight},   {8, bottomLeft, topLeft},
    };
    for (const auto& [orientation, first, endOfFirstRow] : cases) {
        const PdfMatrix matrix = imagePlacement(rect, orientation);
        EXPECT_EQ(placed(matrix, 0, 1), first) << orientation;
        EXPECT_EQ(placed(matrix, 1, 1), endOfFirstRow) << orientation;
    }
    EXPECT_EQ(imagePlacement(rect, 0), imagePlacement(rect, 1));
    EXPECT_EQ(imagePlacement(rect, 9), imagePlacement(rect, 1));
}

} // namespace
} // namespace lumivert
