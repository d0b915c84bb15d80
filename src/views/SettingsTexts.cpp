#include "views/SettingsTexts.h"

#include "model/NumberText.h"

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
