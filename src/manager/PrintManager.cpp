#include "manager/PrintManager.h"

#include "manager/PageGeometry.h"
#include "manager/Selection.h"
#include "manager/SoftProof.h"

#include <algorithm>

namespace lumivert {

PrintManager::PrintManager(const Platform& platform)
    : m_platform(platform)
    , m_softProof(std::make_unique<SoftProof>(platform.dispatcher, [this] { announceChange(); })) {
    loadPresets();
    detectPrinters();
}

PrintManager::~PrintManager() = default;

std::optional<Printer> PrintManager::selectedPrinter() const {
    return firstWithId(*availablePrinters, selectedPrinterID);
}

PaperSize PrintManager::selectedPaperSize() const {
    return firstWithId(*availablePaperSizes, selectedPaperSizeID).value_or(defaultPaperSize());
}

PaperType PrintManager::selectedPaperType() const {
    return firstWithId(*availablePaperTypes, selectedPaperTypeID).value_or(automaticPaperType());
}

ICCProfile PrintManager::selectedICCProfile() const {
    return firstWithId(*availableICCProfiles, selectedICCProfileID)
        .value_or(printerManagedProfile());
}

PaperOrientation PrintManager::effectiveOrientation() const {
    if (orientation != PaperOrientation::auto_)
        return orientation;
    if (!*image)
        return PaperOrientation::portrait;
    const SizePoints size = (*image)->size();
    return size.height < size.width ? PaperOrientation::landscape : PaperOrientation::portrait;
}

Margins PrintManager::effectiveMargins() const {
    if (borderless)
        return {};
    if (sizingMode == SizingMode::imageSize)
        return marginsFromImageSize();
    return margins;
}

Margins PrintManager::marginsFromImageSize() const {
    const auto [width, height] = orientedPaper(selectedPaperSize(), effectiveOrientation());
    if (imageSizeCentered) {
        const double side = std::max((width - imageWidthMM) * 0.5, 0.0);
        const double end = std::max((height - imageHeightMM) * 0.5, 0.0);
        return {.top = end, .bottom = end, .left = side, .right = side};
    }
    return {.top = imageSizeMarginTop,
            .bottom = std::max(height - imageHeightMM - imageSizeMarginTop, 0.0),
            .left = imageSizeMarginLeft,
            .right = std::max(width - imageWidthMM - imageSizeMarginLeft, 0.0)};
}

} // namespace lumivert
