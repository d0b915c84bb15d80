#pragma once

#include <cstdint>
#include <functional>

namespace lumivert {

/// Runs `work(first, last)` over bands of 0..count and waits for all of them: on several threads
/// where so many `pixels` are worth it, on the calling one what no thread is to be had for. The
/// bands are worked on in any order, and at once.
void inBands(int count, std::int64_t pixels, const std::function<void(int, int)>& work);

} // namespace lumivert
