#pragma once

#include <vips/vips8>

#include <cstddef>
#include <functional>
#include <span>

namespace lumivert::decoder {

/// A stack of whole rows; `lines` of `bytesPerLine`, `stride` bytes apart.
struct Strip {
    const std::byte* first = nullptr;
    std::size_t bytesPerLine = 0;
    std::size_t stride = 0;
    int top = 0;
    int lines = 0;

    [[nodiscard]] std::span<const std::byte> line(int index) const {
        return {first + static_cast<std::size_t>(index) * stride, bytesPerLine};
    }
};

/// Evaluates the image once, top to bottom, on as many threads as there are cores, and hands over
/// its rows in order, one strip at a time, on some thread. Throws vips::VError when the pixels
/// cannot be made or `take` returns false.
void forEachStrip(const vips::VImage& image, const std::function<bool(const Strip&)>& take);

} // namespace lumivert::decoder
