#pragma once

#include "model/Models.h"
#include "platform/Geometry.h"

#include <string>

// What the settings column shows as text, in UTF-8.
namespace lumivert {

class PrintManager;

/// "6000 × 4000 px"
[[nodiscard]] std::string pixelSizeText(PixelSize size);

/// A queue's name with blanks for its underscores.
[[nodiscard]] std::string printerTitle(const Printer& printer);

/// What there is to know of the selected size where the queue gives it no measure; else nothing.
[[nodiscard]] std::string unmeasuredSizeNote(const PrintManager& pm);

/// "T 20.0  B 20.0  L 35.5  R 35.5 mm"
[[nodiscard]] std::string marginsText(const Margins& margins);

/// Whether a preset's name is empty but for spaces and tabs.
[[nodiscard]] bool isBlankName(const std::string& name);

/// The lines of the question before a print: size, media, and whether there are margins.
[[nodiscard]] std::string confirmationText(const PaperSize& paper, const PaperType& type,
                                           bool borderless);

} // namespace lumivert
