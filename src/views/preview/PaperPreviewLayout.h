#pragma once

#include "manager/PageGeometry.h"
#include "model/Models.h"
#include "platform/Geometry.h"

// Where the sheet, the photo and the outline lie in the preview: pure sums in the view's own units
// (device-independent pixels), y downwards.
namespace lumivert {

struct PaperPreviewLayout {
    /// In the view's coordinates. Without area where the view has no room for a sheet.
    RectPoints sheet;
    /// The image's box and the outline, in the sheet's coordinates; at least 1 each way.
    RectPoints frame;
    bool outlined = false;

    bool operator==(const PaperPreviewLayout&) const = default;
};

/// Room left free on every side of the sheet.
inline constexpr double previewPadding = 40;

/// The sheet centred in a view of `width` by `height`, as large as fits, and the area that
/// `margins` (millimetres) leave on it.
[[nodiscard]] PaperPreviewLayout paperPreviewLayout(double width, double height,
                                                    const OrientedPaper& paper,
                                                    const Margins& margins, bool borderless);

} // namespace lumivert
