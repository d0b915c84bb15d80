#include "views/Bands.h"

#include <algorithm>
#include <system_error>
#include <thread>
#include <vector>

namespace lumivert {

void inBands(int count, std::int64_t pixels, const std::function<void(int, int)>& work) {
    constexpr std::int64_t worthAThread = 250'000;
    const int cores = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 8u));
    const int bands = static_cast<int>(std::clamp<std::int64_t>(
        std::min<std::int64_t>(cores, count), 1, pixels / worthAThread + 1));
    const auto start = [&](int band) {
        return static_cast<int>(static_cast<std::int64_t>(count) * band / bands);
    };
    std::vector<std::jthread> others;
    int band = 1;
    try {
        for (; band < bands; ++band)
            others.emplace_back(
                [&work, first = start(band), last = start(band + 1)] { work(first, last); });
    } catch (const std::system_error&) {
        // No more threads to be had: what is left is done here.
        work(start(band), count);
    }
    work(0, start(1));
}

} // namespace lumivert
