#include "model/Text.h"
#include "platform/qt/QtFunctions.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>

namespace lumivert {
namespace {

TEST(RandomUuid, isWrittenInItsCanonicalFormAndNeverTheSameTwice) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        const std::string text = randomUuid();
        EXPECT_EQ(uuidText(text), text);
        EXPECT_TRUE(seen.insert(text).second);
    }
}

TEST(RandomUuid, statesVersionAndVariantAndVariesAllElse) {
    std::array<std::set<char>, 36> seen;
    for (int i = 0; i < 1000; ++i)
        for (const std::string text = randomUuid();
             const std::size_t at : {0U, 7U, 9U, 14U, 15U, 19U, 20U, 24U, 35U})
            seen[at].insert(text[at]);
    for (const std::size_t at : {0U, 7U, 9U, 15U, 20U, 24U, 35U})
        EXPECT_EQ(seen[at].size(), 16U) << at;
    EXPECT_EQ(seen[14], std::set{'4'});
    EXPECT_EQ(seen[19], (std::set{'8', '9', 'A', 'B'}));
}

} // namespace
} // namespace lumivert
