#include <gtest/gtest.h>

#include <clocale>

namespace {

// A program with windows runs under the user's locale; so does a test program that links this.
class UserLocale : public testing::Environment {
public:
    void SetUp() override { std::setlocale(LC_ALL, ""); }
};

[[maybe_unused]] auto* const userLocale = testing::AddGlobalTestEnvironment(new UserLocale);

} // namespace
