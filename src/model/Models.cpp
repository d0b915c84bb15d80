#include "model/Models.h"

#include "model/HashFields.h"

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

using lumivert::hashFields;

std::size_t std::hash<lumivert::Printer>::operator()(const lumivert::Printer& v) const noexcept {
    return hashFields(v.id, v.name);
}

std::size_t
std::hash<lumivert::PaperSize>::operator()(const lumivert::PaperSize& v) const noexcept {
    return hashFields(v.id, v.name, v.widthMM, v.heightMM, v.cupsName, v.cupsFullbleedName);
}

std::size_t
std::hash<lumivert::PaperType>::operator()(const lumivert::PaperType& v) const noexcept {
    return hashFields(v.id, v.name, v.cupsMediaType);
}

std::size_t
std::hash<lumivert::ICCProfile>::operator()(const lumivert::ICCProfile& v) const noexcept {
    return hashFields(v.id, v.name, v.path, v.isSystem);
}
