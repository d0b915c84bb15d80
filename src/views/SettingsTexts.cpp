#include "views/SettingsTexts.h"

#include "manager/PrintManager.h"
#include "model/Text.h"

#include <algorithm>

namespace lumivert {

std::string pixelSizeText(PixelSize size) {
    return std::to_string(size.width) + " × " + std::to_string(size.height) + " px";
}

std::string printerTitle(const Printer& printer) {
    std::string title = printer.name;
    std::ranges::replace(title, '_', ' ');
    return title;
}

std::string unmeasuredSizeNote(const PrintManager& pm) {
    if (!pm.selectedPaperSizeIsUnmeasured())
        return {};
    return pm.selectedPaperSize().name +
           ": the printer's driver states no measure for this size that Lumivert reads, so it "
           "counts as A4. \"sudo lumivert-prepare-queue " +
           pm.selectedPrinterID.get() + "\" shows what would give the sizes their own.";
}

std::string marginsText(const Margins& margins) {
    return "T " + fixedText(margins.top, 1) + "  B " + fixedText(margins.bottom, 1) + "  L " +
           fixedText(margins.left, 1) + "  R " + fixedText(margins.right, 1) + " mm";
}

bool isBlankName(const std::string& name) {
    return name.find_first_not_of(" \t") == std::string::npos;
}

std::string confirmationText(const PaperSize& paper, const PaperType& type, bool borderless) {
    return paper.name + "\n" + type.name + "\n" + (borderless ? "Borderless" : "With margins");
}

} // namespace lumivert
