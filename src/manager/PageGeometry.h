#pragma once

#include "model/Models.h"
#include "platform/Geometry.h"

#include <optional>

// Where the photo lies on the sheet: pure sums, in double precision, in the stated order of
// operations, never rounded.
namespace lumivert {

[[nodiscard]] double pointsFromMillimetres(double millimetres);
[[nodiscard]] double millimetresFromPoints(double points);

[[nodiscard]] Margins pointsFromMillimetres(const Margins& margins);

/// A sheet in millimetres, turned.
struct OrientedPaper {
    double widthMM = 0;
    double heightMM = 0;

    bool operator==(const OrientedPaper&) const = default;
};

/// The sheet as it lies: landscape exchanges the sides, whatever they are.
[[nodiscard]] OrientedPaper orientedPaper(const PaperSize& paper, PaperOrientation orientation);

/// The largest rectangle of the image's aspect inside `rect`, centred. Both heights are not zero.
[[nodiscard]] RectPoints fitRect(SizePoints imageSize, RectPoints rect);

/// The smallest rectangle of the image's aspect that covers `rect`, centred. Heights as above.
[[nodiscard]] RectPoints fillRect(SizePoints imageSize, RectPoints rect);

/// The image at its own size, its centre on that of `rect`.
[[nodiscard]] RectPoints actualSizeRect(SizePoints imageSize, RectPoints rect);

/// What a scaling means: for the page, and for the preview of it. Asked by whoever places a photo,
/// so that a scaling is told apart nowhere else.
struct ScalingRule {
    using Placing = RectPoints (*)(SizePoints imageSize, RectPoints rect);

    /// Where the whole photo lies on the page, for the printable rectangle.
    Placing onPage;
    /// Where it is shown, for the frame that stands for that rectangle.
    Placing inPreview;
    /// Whether the page takes only the part of the photo that lies in the printable rectangle,
    /// rather than all of it below the white margins.
    bool crops;
};

[[nodiscard]] const ScalingRule& scalingRule(ScalingMode scaling);

/// The part of the page inside the margins (points); its sides can be negative.
[[nodiscard]] RectPoints printableRect(SizePoints page, const Margins& marginPoints);

/// Whether both sides are positive and finite.
[[nodiscard]] bool hasArea(RectPoints rect);

/// What two rectangles share; nothing where they only touch, lie apart, or one has no area.
[[nodiscard]] std::optional<RectPoints> intersection(RectPoints a, RectPoints b);

/// The pixels of a bitmap drawn into `drawn` that show in `visible`, a part of it: each edge at its
/// nearest pixel boundary, so at most half a pixel off, and at least one pixel each way.
[[nodiscard]] PixelRect visiblePixels(PixelSize bitmap, RectPoints drawn, RectPoints visible);

} // namespace lumivert
