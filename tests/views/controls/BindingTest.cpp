#include "views/controls/Binding.h"

#include "model/Models.h"

#include <gtest/gtest.h>

namespace lumivert {
namespace {

struct Model : ObservableObject {
    Published<double> length{this, 7.25};
    Published<Margins> margins{this, {.top = 1, .bottom = 2, .left = 3, .right = 4}};
};

TEST(Binding, readsAndAssignsTheProperty) {
    Model model;
    int notifications = 0;
    const Subscription subscription = model.subscribe([&] { ++notifications; });
    const Binding<double> length = binding(model.length);
    EXPECT_EQ(length.get(), 7.25);
    length.set(8);
    EXPECT_EQ(model.length.get(), 8);
    EXPECT_EQ(notifications, 1);
}

TEST(Binding, toAMemberAssignsTheWholeRecordOnce) {
    Model model;
    int notifications = 0;
    const Subscription subscription = model.subscribe([&] { ++notifications; });
    const Binding<double> left = binding(model.margins, &Margins::left);
    EXPECT_EQ(left.get(), 3);
    left.set(30);
    EXPECT_EQ(model.margins.get(), (Margins{.top = 1, .bottom = 2, .left = 30, .right = 4}));
    EXPECT_EQ(notifications, 1);
}

} // namespace
} // namespace lumivert
