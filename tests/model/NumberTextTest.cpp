#include "model/Text.h"
#include "support/CommaLocale.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <locale.h>
#include <random>
#include <string>
#include <vector>

namespace lumivert {
namespace {

// What printf writes in the POSIX locale, whatever the program's own.
std::string printed(double value, int decimals) {
    static const locale_t posix = newlocale(LC_ALL_MASK, "C", nullptr);
    const locale_t previous = uselocale(posix);
    std::vector<char> text(512);
    const int length = std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    uselocale(previous);
    return {text.data(), static_cast<std::size_t>(length)};
}

TEST(NumberText, agreesWithPrintfOnRandomNumbers) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> millimetres(-1000, 1000);
    for (int round = 0; round < 20000; ++round) {
        const double value = round % 2 ? std::bit_cast<double>(random()) : millimetres(random);
        const int decimals = static_cast<int>(random() % 7);
        if (std::isnan(value))
            continue;
        ASSERT_EQ(fixedText(value, decimals), printed(value, decimals)) << decimals;
    }
}

TEST(NumberText, agreesWithPrintfOnHalvesAndTenths) {
    for (int tick = -2000; tick <= 2000; ++tick)
        for (const double value : {tick / 2.0, tick / 4.0, tick / 20.0, tick * 0.05})
            for (const int decimals : {0, 1, 2})
                ASSERT_EQ(fixedText(value, decimals), printed(value, decimals)) << value;
}

TEST(NumberText, writesEveryFiniteNumberInFull) {
    const double largest = std::numeric_limits<double>::max();
    EXPECT_EQ(fixedText(largest, 6), printed(largest, 6));
    EXPECT_EQ(fixedText(-largest, 6), printed(-largest, 6));
    EXPECT_EQ(fixedText(5e-324, 3), "0.000");
    EXPECT_EQ(fixedText(1e21, 0), "1000000000000000000000");
}

TEST(NumberText, namesWhatIsNoFiniteNumber) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(fixedText(infinity, 1), "inf");
    EXPECT_EQ(fixedText(-infinity, 1), "-inf");
    EXPECT_EQ(fixedText(std::nan(""), 1), "nan");
}

TEST(NumberText, roundsHalvesOfAFixedNumberToEvenAndKeepsTheSignOfZero) {
    EXPECT_EQ(fixedText(2.5, 0), "2");
    EXPECT_EQ(fixedText(3.5, 0), "4");
    EXPECT_EQ(fixedText(-0.04, 1), "-0.0");
}

TEST(NumberText, cutsOffTowardZero) {
    EXPECT_EQ(truncatedText(190.9), "190");
    EXPECT_EQ(truncatedText(99.99), "99");
    EXPECT_EQ(truncatedText(-99.99), "-99");
    EXPECT_EQ(truncatedText(0.999), "0");
    EXPECT_EQ(truncatedText(-0.999), "0");
    EXPECT_EQ(truncatedText(-0.0), "0");
    EXPECT_EQ(truncatedText(277), "277");
    EXPECT_EQ(truncatedText(1e21), "1000000000000000000000");
}

TEST(NumberText, givesMillimetresOneDecimalAndTheirUnit) {
    EXPECT_EQ(millimetresText(12.5), "12.5 mm");
    EXPECT_EQ(millimetresText(5), "5.0 mm");
    EXPECT_EQ(millimetresText(7.25), "7.2 mm");
    EXPECT_EQ(millimetresText(-3.26), "-3.3 mm");
}

TEST(NumberText, writesAPointUnderALocaleWithACommaToo) {
    const CommaLocale locale;
    if (!locale.isSet())
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    EXPECT_EQ(fixedText(1234.5, 2), "1234.50");
    EXPECT_EQ(truncatedText(1234567.8), "1234567");
    EXPECT_EQ(millimetresText(12.5), "12.5 mm");
}

} // namespace
} // namespace lumivert
