#include "manager/PageGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace lumivert {
namespace {

// One axis of visiblePixels: where the visible span begins and how long it is, in pixels.
std::pair<int, int> pixelSpan(int pixels, double scale, double offset, double length) {
    const double from = std::clamp(std::round(offset * scale), 0.0, double(pixels - 1));
    const double to = std::clamp(std::round((offset + length) * scale), from + 1, double(pixels));
    return {static_cast<int>(from), static_cast<int>(to - from)};
}

constexpr std::array<std::pair<ScalingMode, ScalingRule>, 3> scalingRules{{
    {ScalingMode::fitToPage, {.onPage = fitRect, .inPreview = fitRect, .crops = false}},
    {ScalingMode::fillPage, {.onPage = fillRect, .inPreview = fillRect, .crops = true}},
    {ScalingMode::actualSize, {.onPage = actualSizeRect, .inPreview = fitRect, .crops = false}},
}};
static_assert(std::ranges::equal(scalingRules, allCases<ScalingMode>(), {},
                                 &std::pair<ScalingMode, ScalingRule>::first),
              "every scaling has its rule, in the order of the cases");

} // namespace

double pointsFromMillimetres(double millimetres) {
    return millimetres * 72.0 / 25.4;
}

double millimetresFromPoints(double points) {
    return points * 25.4 / 72;
}

Margins pointsFromMillimetres(const Margins& margins) {
    return {.top = pointsFromMillimetres(margins.top),
            .bottom = pointsFromMillimetres(margins.bottom),
            .left = pointsFromMillimetres(margins.left),
            .right = pointsFromMillimetres(margins.right)};
}

OrientedPaper orientedPaper(const PaperSize& paper, PaperOrientation orientation) {
    if (orientation == PaperOrientation::landscape)
        return {.widthMM = paper.heightMM, .heightMM = paper.widthMM};
    return {.widthMM = paper.widthMM, .heightMM = paper.heightMM};
}

RectPoints fitRect(SizePoints imageSize, RectPoints rect) {
    const double aspect = imageSize.width / imageSize.height;
    if (rect.width / rect.height < aspect) {
        const double height = rect.width / aspect;
        return {rect.x, rect.y + (rect.height - height) * 0.5, rect.width, height};
    }
    const double width = aspect * rect.height;
    return {rect.x + (rect.width - width) * 0.5, rect.y, width, rect.height};
}

RectPoints fillRect(SizePoints imageSize, RectPoints rect) {
    const double aspect = imageSize.width / imageSize.height;
    if (rect.width / rect.height < aspect) {
        const double width = aspect * rect.height;
        return {rect.x + (width - rect.width) * -0.5, rect.y, width, rect.height};
    }
    const double height = rect.width / aspect;
    return {rect.x, rect.y + (height - rect.height) * -0.5, rect.width, height};
}

RectPoints actualSizeRect(SizePoints imageSize, RectPoints rect) {
    const double midX = rect.x + rect.width * 0.5;
    const double midY = rect.y + rect.height * 0.5;
    return {midX - imageSize.width * 0.5, midY - imageSize.height * 0.5, imageSize.width,
            imageSize.height};
}

const ScalingRule& scalingRule(ScalingMode scaling) {
    return std::ranges::find(scalingRules, scaling, &std::pair<ScalingMode, ScalingRule>::first)
        ->second;
}

RectPoints printableRect(SizePoints page, const Margins& marginPoints) {
    return {marginPoints.left, marginPoints.bottom,
            (page.width - marginPoints.left) - marginPoints.right,
            (page.height - marginPoints.top) - marginPoints.bottom};
}

bool hasArea(RectPoints rect) {
    return std::isfinite(rect.x) && std::isfinite(rect.y) && std::isfinite(rect.width) &&
           std::isfinite(rect.height) && rect.width > 0 && rect.height > 0;
}

std::optional<RectPoints> intersection(RectPoints a, RectPoints b) {
    // The comparisons below would let one that is not finite pass for the other.
    if (!hasArea(a) || !hasArea(b))
        return std::nullopt;
    const double left = std::max(a.x, b.x);
    const double bottom = std::max(a.y, b.y);
    const double right = std::min(a.x + a.width, b.x + b.width);
    const double top = std::min(a.y + a.height, b.y + b.height);
    const RectPoints shared{left, bottom, right - left, top - bottom};
    return hasArea(shared) ? std::optional(shared) : std::nullopt;
}

PixelRect visiblePixels(PixelSize bitmap, RectPoints drawn, RectPoints visible) {
    const auto [x, width] =
        pixelSpan(bitmap.width, bitmap.width / drawn.width, visible.x - drawn.x, visible.width);
    // Rows run downwards from the top edge.
    const double fromTop = (drawn.y + drawn.height) - (visible.y + visible.height);
    const auto [y, height] =
        pixelSpan(bitmap.height, bitmap.height / drawn.height, fromTop, visible.height);
    return {x, y, width, height};
}

} // namespace lumivert
