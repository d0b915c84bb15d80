#include "manager/Selection.h"

#include <gtest/gtest.h>

namespace lumivert {
namespace {

struct Entry {
    std::string id;
    std::string value;
};

class Holder : public ObservableObject {
public:
    Published<std::string> selected{this, "old"};
};

TEST(Selection, staysWithoutAnAssignmentWhenStillOffered) {
    Holder holder;
    int notifications = 0;
    const auto subscription = holder.subscribe([&] { ++notifications; });
    selectOffered<Entry>(holder.selected, {{"best", "v"}, {"old", ""}}, &Entry::value, {"v"});
    EXPECT_EQ(holder.selected.get(), "old");
    EXPECT_EQ(notifications, 0);
}

TEST(Selection, prefersValuesInTheirOrderThenTheFirstRecord) {
    Holder holder;
    selectOffered<Entry>(holder.selected, {{"1", "c"}, {"2", "b"}, {"3", "a"}, {"4", "a"}},
                         &Entry::value, {"a", "b"});
    EXPECT_EQ(holder.selected.get(), "3");
    selectOffered<Entry>(holder.selected, {{"1", "c"}, {"2", "b"}}, &Entry::value, {"a", "b"});
    EXPECT_EQ(holder.selected.get(), "2");
    selectOffered<Entry>(holder.selected, {{"8", "c"}, {"9", "d"}}, &Entry::value, {"a", "b"});
    EXPECT_EQ(holder.selected.get(), "8");
}

} // namespace
} // namespace lumivert
