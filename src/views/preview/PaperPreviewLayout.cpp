#include "views/preview/PaperPreviewLayout.h"

#include <algorithm>

namespace lumivert {

PaperPreviewLayout paperPreviewLayout(double width, double height, const OrientedPaper& paper,
                                      const Margins& margins, bool borderless) {
    const double aspect = paper.widthMM / paper.heightMM;
    const double availableWidth = width - 2 * previewPadding;
    const double availableHeight = height - 2 * previewPadding;
    const bool narrower = availableWidth / availableHeight < aspect;
    const double sheetWidth = narrower ? availableWidth : aspect * availableHeight;
    const double sheetHeight = narrower ? availableWidth / aspect : availableHeight;

    const double scaleX = sheetWidth / paper.widthMM;
    const double scaleY = sheetHeight / paper.heightMM;
    const double offsetX = scaleX * margins.left;
    const double offsetY = scaleY * margins.top;
    const double printableWidth = (sheetWidth - scaleX * margins.left) - scaleX * margins.right;
    const double printableHeight = (sheetHeight - scaleY * margins.top) - scaleY * margins.bottom;
    const double frameWidth = std::max(printableWidth, 1.0);
    const double frameHeight = std::max(printableHeight, 1.0);
    const double centreX = offsetX + printableWidth * 0.5;
    const double centreY = offsetY + printableHeight * 0.5;

    const bool anyMargin =
        margins.top > 0 || margins.bottom > 0 || margins.left > 0 || margins.right > 0;
    return {
        .sheet = {(width - sheetWidth) * 0.5, (height - sheetHeight) * 0.5, sheetWidth,
                  sheetHeight},
        .frame = {centreX - frameWidth * 0.5, centreY - frameHeight * 0.5, frameWidth, frameHeight},
        .outlined = !borderless && anyMargin};
}

} // namespace lumivert
