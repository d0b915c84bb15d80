#include "views/Bands.h"

#include <gtest/gtest.h>

#include <atomic>
#include <pthread.h>
#include <vector>

namespace lumivert {
namespace {

/// How often each of 0..count is worked on.
std::vector<int> visits(int count, std::int64_t pixels) {
    std::vector<std::atomic<int>> counted(static_cast<std::size_t>(count));
    inBands(count, pixels, [&](int first, int last) {
        for (int i = first; i < last; ++i)
            ++counted[static_cast<std::size_t>(i)];
    });
    return {counted.begin(), counted.end()};
}

/// While it lives no further thread can be made: none has room for such a stack.
class WithoutFurtherThreads {
public:
    WithoutFurtherThreads() {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << 50);
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    ~WithoutFurtherThreads() {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }

private:
    pthread_attr_t m_before;
};

TEST(Bands, coverEverythingOnce) {
    for (const int count : {1, 2, 3, 7, 1000})
        for (const std::int64_t pixels : {0, 300'000, 100'000'000})
            EXPECT_EQ(visits(count, pixels), std::vector<int>(static_cast<std::size_t>(count), 1))
                << count << " " << pixels;
    EXPECT_TRUE(visits(0, 0).empty());
}

TEST(Bands, areWorkedOnWithoutFurtherThreadsToo) {
    const WithoutFurtherThreads none;
    EXPECT_EQ(visits(1000, 100'000'000), std::vector<int>(1000, 1));
}

} // namespace
} // namespace lumivert
