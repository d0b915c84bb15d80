#include "model/Models.h"

namespace lumivert {

PaperSize defaultPaperSize() {
    return {.id = "A4",
            .name = "A4 (210 × 297 mm)",
            .widthMM = 210.0,
            .heightMM = 297.0,
            .cupsName = "A4",
            .cupsFullbleedName = std::nullopt};
}

PaperType automaticPaperType() {
    return {.id = "auto", .name = "Auto", .cupsMediaType = "auto"};
}

ICCProfile printerManagedProfile() {
    return {.id = "printer_managed",
            .name = "Printer Managed (standard)",
            .path = std::nullopt,
            .isSystem = false};
}

} // namespace lumivert
