#pragma once

#include <string>

namespace lumivert {

class PrintManager;

// What the preview shows, for those who do not see it, in UTF-8.

/// "A4 landscape, photo 200 × 125 mm, margins 5 mm, proof of Glossy paper": the sheet, what of the
/// photo lands on it, and how its colours are shown.
[[nodiscard]] std::string previewSentence(const PrintManager& pm);

/// That the chosen profile is not seen in the colours, and what that means; empty while it is.
[[nodiscard]] std::string proofTrouble(const PrintManager& pm);

} // namespace lumivert
