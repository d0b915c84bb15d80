#include "model/Text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace lumivert {
namespace {

using Views = std::vector<std::string_view>;

TEST(Text, splitsAtEachSeparatorAndKeepsEmptyPieces) {
    EXPECT_EQ(split("a b", ' '), (Views{"a", "b"}));
    EXPECT_EQ(split("", ' '), (Views{""}));
    EXPECT_EQ(split(" ", ' '), (Views{"", ""}));
    EXPECT_EQ(split("a  b ", ' '), (Views{"a", "", "b", ""}));
    EXPECT_EQ(split("a\nb\n", '\n'), (Views{"a", "b", ""}));
    EXPECT_EQ(split("a\tb", ' '), (Views{"a\tb"}));
    EXPECT_EQ(split("a\r\nb", '\n'), (Views{"a\r", "b"}));
}

TEST(Text, trimsSpacesAndTabsButNoLineBreaks) {
    EXPECT_EQ(trimmed(" \t a b\t "), "a b");
    EXPECT_EQ(trimmed("\n a \n"), "\n a \n");
    EXPECT_EQ(trimmed(" a\n "), "a\n");
    EXPECT_EQ(trimmed(" a\r"), "a\r");
    EXPECT_EQ(trimmed(" \t "), "");
    EXPECT_EQ(trimmed(""), "");
    EXPECT_EQ(trimmed("\u00a0a"), "\u00a0a");
}

TEST(Text, removesACharacterEverywhere) {
    EXPECT_EQ(without("*A*4*", '*'), "A4");
    EXPECT_EQ(without("***", '*'), "");
    EXPECT_EQ(without("A4", '*'), "A4");
}

TEST(UuidText, readsEitherCaseAndWritesUpperCase) {
    const std::string upper = "01234567-89AB-CDEF-FEDC-BA9876543210";
    for (const char* text :
         {"01234567-89AB-CDEF-FEDC-BA9876543210", "01234567-89ab-cdef-fedc-ba9876543210",
          "01234567-89aB-CdEf-feDC-Ba9876543210"})
        EXPECT_EQ(uuidText(text), upper) << text;
    EXPECT_TRUE(uuidText("00000000-0000-0000-0000-000000000000"));
}

TEST(UuidText, readsNoOtherForm) {
    using namespace std::string_literals;
    for (const std::string& text :
         {""s, "0123456789ABCDEFFEDCBA9876543210"s, "{01234567-89AB-CDEF-FEDC-BA9876543210}"s,
          "01234567-89AB-CDEF-FEDC-BA987654321"s, "01234567-89AB-CDEF-FEDC-BA98765432100"s,
          "01234567-89AB-CDEF-FEDC-BA987654321G"s, "0123456-789AB-CDEF-FEDC-BA9876543210"s,
          "01234567-89AB-CDEF-FEDC+BA9876543210"s, "01234567-89AB-CDEFFEDC--BA9876543210"s,
          " 1234567-89AB-CDEF-FEDC-BA9876543210"s, "01234567-89AB-CDEF-FEDC-BA9876543210\n"s,
          "0x234567-89AB-CDEF-FEDC-BA9876543210"s, "+1234567-89AB-CDEF-FEDC-BA9876543210"s,
          "01234567-89AB-CDEF-FEDC-BA987654321\0"s})
        EXPECT_EQ(uuidText(text), std::nullopt) << text;
}

TEST(UuidText, refusesAWrongCharacterAtAnyPlace) {
    for (std::size_t at = 0; at < 36; ++at) {
        std::string text = "01234567-89AB-CDEF-FEDC-BA9876543210";
        text[at] = text[at] == '-' ? '0' : '-';
        EXPECT_EQ(uuidText(text), std::nullopt) << text;
    }
}

// Written without the limits that isUtf8 knows.
std::string encoded(std::uint32_t c, int length) {
    const auto tail = [&](int shift) { return static_cast<char>(0x80 | ((c >> shift) & 0x3f)); };
    switch (length) {
    case 1:
        return {static_cast<char>(c)};
    case 2:
        return {static_cast<char>(0xc0 | c >> 6), tail(0)};
    case 3:
        return {static_cast<char>(0xe0 | c >> 12), tail(6), tail(0)};
    default:
        return {static_cast<char>(0xf0 | c >> 18), tail(12), tail(6), tail(0)};
    }
}

TEST(Utf8, isEveryCodePointInItsShortestFormAndNoOther) {
    for (std::uint32_t c = 0; c < 0x140000; c += c < 0x12000 ? 1 : 61) {
        const int shortest = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
        const bool scalar = c <= 0x10ffff && (c < 0xd800 || c > 0xdfff);
        for (int length = shortest; length <= 4; ++length) {
            ASSERT_EQ(isUtf8(encoded(c, length)), scalar && length == shortest)
                << std::hex << c << " in " << length;
        }
        if (shortest > 1) { // cut off, or run into another character
            const std::string text = encoded(c, shortest);
            ASSERT_FALSE(isUtf8(text.substr(0, text.size() - 1))) << std::hex << c;
            ASSERT_FALSE(isUtf8(text.substr(0, text.size() - 1) + "a")) << std::hex << c;
            ASSERT_FALSE(isUtf8(text.substr(1))) << std::hex << c;
        }
    }
    for (const std::uint32_t last : {0xd7ffU, 0xe000U, 0xfffdU, 0x10ffffU})
        EXPECT_TRUE(isUtf8(encoded(last, last < 0x10000 ? 3 : 4)));
    EXPECT_FALSE(isUtf8(encoded(0x110000, 4)));
}

TEST(Utf8, isJudgedToTheEndOfTheText) {
    EXPECT_TRUE(isUtf8(""));
    EXPECT_TRUE(isUtf8(std::string("a\0å", 4)));
    EXPECT_FALSE(isUtf8("fine until here \xff"));
    EXPECT_FALSE(isUtf8("\xff and fine from here"));
}

} // namespace
} // namespace lumivert
