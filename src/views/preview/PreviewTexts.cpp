#include "views/preview/PreviewTexts.h"

#include "manager/PageGeometry.h"
#include "manager/PrintManager.h"
#include "manager/SoftProof.h"
#include "model/Text.h"

namespace lumivert {

namespace {

/// One decimal, and none where it is 0.
std::string shortNumber(double value) {
    std::string text = fixedText(value, 1);
    if (text.ends_with(".0"))
        text.resize(text.size() - 2);
    return text;
}

std::string photoText(const PrintManager& pm) {
    const SizePoints size = (*pm.image)->size();
    const auto [width, height] = orientedPaper(pm.selectedPaperSize(), pm.effectiveOrientation());
    // All in millimetres: the sums are the same.
    const RectPoints printable = printableRect({width, height}, pm.effectiveMargins());
    const SizePoints photo{millimetresFromPoints(size.width), millimetresFromPoints(size.height)};
    const auto seen = intersection(scalingRule(pm.scalingMode).onPage(photo, printable), printable);
    if (!seen)
        return "no room for the photo";
    return "photo " + shortNumber(seen->width) + " × " + shortNumber(seen->height) + " mm";
}

std::string marginsText(const PrintManager& pm) {
    if (pm.borderless)
        return "borderless";
    const Margins m = pm.effectiveMargins();
    const std::string top = shortNumber(m.top);
    if (m == Margins{m.top, m.top, m.top, m.top})
        return "margins " + top + " mm";
    return "margins top " + top + ", bottom " + shortNumber(m.bottom) + ", left " +
           shortNumber(m.left) + ", right " + shortNumber(m.right) + " mm";
}

std::string colourText(const PrintManager& pm) {
    const std::string profile = pm.selectedICCProfile().name;
    switch (pm.previewProofState()) {
    case ProofState::none:
        break;
    case ProofState::inWork:
        return ", proof of " + profile + " being made";
    case ProofState::shown:
        return ", proof of " + profile;
    case ProofState::failed:
        return ", colors shown without " + profile;
    }
    return {};
}

} // namespace

std::string previewSentence(const PrintManager& pm) {
    if (!*pm.image)
        return {};
    const bool landscape = pm.effectiveOrientation() == PaperOrientation::landscape;
    return pm.selectedPaperSize().name + (landscape ? " landscape, " : " portrait, ") +
           photoText(pm) + ", " + marginsText(pm) + colourText(pm);
}

std::string proofTrouble(const PrintManager& pm) {
    if (pm.previewProofState() != ProofState::failed)
        return {};
    return "Colors are shown without the profile " + pm.selectedICCProfile().name +
           ", which cannot be used here.";
}

} // namespace lumivert
