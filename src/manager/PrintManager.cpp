#include "manager/PrintManager.h"

#include "manager/PageGeometry.h"
#include "manager/Selection.h"
#include "manager/SoftProof.h"
#include "platform/Image.h"

#include <algorithm>

namespace lumivert {

PrintManager::PrintManager(const Platform& platform)
    : m_platform(platform)
    , m_softProof(std::make_shared<SoftProof>(
          platform.dispatcher,
          [this] {
              const bool proofed = selectedICCProfile().path.has_value();
              return SoftProof::Wanted{image, proofed,
                                       proofed ? chosenColorSpace().value_or(nullptr) : nullptr,
                                       renderingIntent};
          },
          [this] { announceChange(); })) {
    const auto follow = [&proof = *m_softProof] { proof.follow(); };
    m_proofSubscriptions.push_back(image.subscribe(follow));
    m_proofSubscriptions.push_back(availableICCProfiles.subscribe(follow));
    m_proofSubscriptions.push_back(selectedICCProfileID.subscribe(follow));
    m_proofSubscriptions.push_back(renderingIntent.subscribe(follow));
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

std::shared_ptr<const ScreenRendition> PrintManager::previewRendition() const {
    return m_softProof->rendition(image);
}

ProofState PrintManager::previewProofState() const {
    return m_softProof->state();
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
