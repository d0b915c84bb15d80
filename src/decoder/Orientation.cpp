#include "decoder/Orientation.h"

namespace lumivert::decoder {

PixelRect storedRect(PixelRect upright, PixelSize stored, int orientation) {
    const auto [x, y, w, h] = upright;
    switch (orientation) {
    case 2:
        return {stored.width - x - w, y, w, h};
    case 3:
        return {stored.width - x - w, stored.height - y - h, w, h};
    case 4:
        return {x, stored.height - y - h, w, h};
    case 5:
        return {y, x, h, w};
    case 6:
        return {y, stored.height - x - w, h, w};
    case 7:
        return {stored.width - y - h, stored.height - x - w, h, w};
    case 8:
        return {stored.width - y - h, x, h, w};
    default:
        return upright;
    }
}

bool needsRandomAccess(int orientation) {
    return orientation > 2;
}

vips::VImage upright(const vips::VImage& stored, int orientation) {
    switch (orientation) {
    case 2:
        return stored.fliphor();
    case 3:
        return stored.rot180();
    case 4:
        return stored.flipver();
    case 5:
        return stored.rot90().fliphor();
    case 6:
        return stored.rot90();
    case 7:
        return stored.rot270().fliphor();
    case 8:
        return stored.rot270();
    default:
        return stored;
    }
}

} // namespace lumivert::decoder
