#pragma once

namespace lumivert {

/// Points are 1/72 inch throughout.
struct SizePoints {
    double width = 0;
    double height = 0;

    bool operator==(const SizePoints&) const = default;
};

/// A rectangle in points; on a page the origin is the lower-left corner, y upwards.
struct RectPoints {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    bool operator==(const RectPoints&) const = default;
};

struct PixelSize {
    int width = 0;
    int height = 0;

    bool operator==(const PixelSize&) const = default;
};

/// A rectangle of whole pixels, origin at the bitmap's top-left corner, y downwards.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const PixelRect&) const = default;
};

} // namespace lumivert
