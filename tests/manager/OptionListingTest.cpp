#include "manager/OptionListing.h"

#include <gtest/gtest.h>

namespace lumivert {
namespace {

using Strings = std::vector<std::string>;

TEST(OptionListing, keepsEmptyChoicesAndTheLineBreaksOfOtherSystems) {
    EXPECT_EQ(optionChoices("K/x: *a  b", "K"), (Strings{"a", "", "b"}));
    EXPECT_EQ(optionChoices("K/x: ", "K"), Strings{""});
    EXPECT_EQ(optionChoices("K/x: a b\r\n", "K"), (Strings{"a", "b\r"}));
    EXPECT_EQ(optionChoices("K/x: a\n", "L"), Strings{});
    EXPECT_EQ(optionChoices("", "K"), Strings{});
}

TEST(OptionListing, splitsPpdLinesAtTheirFirstColon) {
    const std::string ppd = "*K a/b: c: d\n*K e\n*K: f\n*K  :\n";
    const auto entries = ppdEntries(ppd, "K");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].option, "a/b");
    EXPECT_EQ(entries[0].value, " c: d");
    EXPECT_EQ(entries[1].option, " ");
    EXPECT_EQ(entries[1].value, "");
}

} // namespace
} // namespace lumivert
