#include "platform/FatalError.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace lumivert {
namespace {

TEST(FatalErrorDeathTest, endsTheProgramWithItsLineOnStandardError) {
    EXPECT_EXIT(fatalError("the paper is on fire"), testing::ExitedWithCode(EXIT_FAILURE),
                "^Lumivert: the paper is on fire\n$");
}

TEST(FatalErrorDeathTest, writesOnlyTheTextItWasGiven) {
    constexpr std::string_view whole = "100%s of it and no more";
    EXPECT_EXIT(fatalError(whole.substr(0, 10)), testing::ExitedWithCode(EXIT_FAILURE),
                "^Lumivert: 100%s of i\n$");
}

TEST(FatalErrorDeathTest, runsNoDestructors) {
    struct Loud {
        ~Loud() { std::fputs("destroyed\n", stderr); }
    };
    EXPECT_EXIT(
        {
            static const Loud whole;
            const Loud local;
            fatalError("stop");
        },
        testing::ExitedWithCode(EXIT_FAILURE), "^Lumivert: stop\n$");
}

TEST(FatalErrorDeathTest, comesAfterWhatWasWrittenBefore) {
    // Standard output goes where standard error does, so that the order shows.
    EXPECT_EXIT(
        {
            dup2(fileno(stderr), fileno(stdout));
            std::printf("the command line\n");
            fatalError("stop");
        },
        testing::ExitedWithCode(EXIT_FAILURE), "^the command line\nLumivert: stop\n$");
}

} // namespace
} // namespace lumivert
