#include "platform/posix/PosixFunctions.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace lumivert {
namespace {

TEST(RandomUuid, statesVersionAndVariant) {
    for (int i = 0; i < 100; ++i) {
        const std::string text = randomUuid().text();
        EXPECT_EQ(text[14], '4') << text;
        EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
    }
}

TEST(RandomUuid, neverGivesTheSameTwice) {
    std::unordered_set<Uuid> seen;
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(seen.insert(randomUuid()).second);
}

TEST(RandomUuid, variesEveryOtherBit) {
    Uuid everSet;
    Uuid everClear;
    for (int i = 0; i < 200; ++i) {
        const Uuid uuid = randomUuid();
        for (std::size_t byte = 0; byte < 16; ++byte) {
            everSet.bytes[byte] |= uuid.bytes[byte];
            everClear.bytes[byte] |= static_cast<std::uint8_t>(~uuid.bytes[byte]);
        }
    }
    EXPECT_EQ(everSet.text(), "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF");
    EXPECT_EQ(everClear.text(), "FFFFFFFF-FFFF-BFFF-7FFF-FFFFFFFFFFFF");
}

} // namespace
} // namespace lumivert
