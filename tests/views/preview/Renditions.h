#pragma once

#include "platform/Image.h"

#include <QColor>

#include <cstring>
#include <functional>
#include <memory>

namespace lumivert {

/// A rendition whose pixel at (x, y) is what `pixel` says.
inline std::shared_ptr<const ScreenRendition>
rendition(PixelSize size, const std::function<QRgb(int, int)>& pixel) {
    Bytes bytes(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) * 4);
    std::byte* out = bytes.data();
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x, out += 4) {
            const QRgb color = pixel(x, y);
            std::memcpy(out, &color, 4);
        }
    return std::make_shared<ScreenRendition>(ScreenRendition{size, sharedBytes(std::move(bytes))});
}

inline std::shared_ptr<const ScreenRendition> plain(PixelSize size, QRgb color) {
    return rendition(size, [color](int, int) { return color; });
}

/// Grows evenly from left to right, and in blue from top to bottom.
inline std::shared_ptr<const ScreenRendition> ramps(PixelSize size) {
    return rendition(size, [size](int x, int y) {
        return qRgb(255 * x / (size.width - 1), 0, 255 * y / (size.height - 1));
    });
}

} // namespace lumivert
