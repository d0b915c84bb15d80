#include "manager/PrintManager.h"

#include "manager/Selection.h"
#include "manager/SoftProof.h"

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

} // namespace lumivert
