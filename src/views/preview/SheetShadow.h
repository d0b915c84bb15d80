#pragma once

#include <QRect>

class QPainter;

namespace lumivert {

/// Paints the shadow of an opaque sheet around it: black at 0.3, blurred over 8, 4 downwards, times
/// `pixelRatio`. Made once for a pixel ratio, stretched for any size; main thread.
void paintSheetShadow(QPainter& painter, const QRect& sheet, double pixelRatio);

} // namespace lumivert
