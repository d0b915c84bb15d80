#include "manager/PrintManager.h"
#include "platform/PreferencesStore.h"

#include <algorithm>

namespace lumivert {
namespace {

constexpr const char* presetsKey = "SavedPrintPresets";

// The case of that raw value, else the first of its type.
template <class Choice>
Choice choiceFrom(const std::string& text) {
    return fromRawValue<Choice>(text).value_or(allCases<Choice>().front());
}

} // namespace

void PrintManager::savePreset(const std::string& name) {
    std::vector<PrintPreset> list = presets;
    list.push_back({.id = m_platform.randomUuid(),
                    .name = name,
                    .paperSizeID = selectedPaperSizeID,
                    .paperTypeID = selectedPaperTypeID,
                    .orientation = std::string(rawValue(orientation.get())),
                    .borderless = borderless,
                    .sizingMode = std::string(rawValue(sizingMode.get())),
                    .marginTop = margins->top,
                    .marginBottom = margins->bottom,
                    .marginLeft = margins->left,
                    .marginRight = margins->right,
                    .imageWidthMM = imageWidthMM,
                    .imageHeightMM = imageHeightMM,
                    .imageSizeCentered = imageSizeCentered,
                    .imageSizeMarginTop = imageSizeMarginTop,
                    .imageSizeMarginLeft = imageSizeMarginLeft,
                    .scalingMode = std::string(rawValue(scalingMode.get())),
                    .iccProfileID = selectedICCProfileID,
                    .renderingIntent = std::string(rawValue(renderingIntent.get()))});
    presets = std::move(list);
    persistPresets();
}

void PrintManager::applyPreset(const PrintPreset& preset) {
    const PrintPreset p = preset; // the caller's may lie in `presets`, which an observer replaces
    selectedPaperSizeID = p.paperSizeID;
    selectedPaperTypeID = p.paperTypeID;
    orientation = choiceFrom<PaperOrientation>(p.orientation);
    borderless = p.borderless;
    sizingMode = choiceFrom<SizingMode>(p.sizingMode);
    margins = {
        .top = p.marginTop, .bottom = p.marginBottom, .left = p.marginLeft, .right = p.marginRight};
    imageWidthMM = p.imageWidthMM;
    imageHeightMM = p.imageHeightMM;
    imageSizeCentered = p.imageSizeCentered;
    imageSizeMarginTop = p.imageSizeMarginTop;
    imageSizeMarginLeft = p.imageSizeMarginLeft;
    scalingMode = choiceFrom<ScalingMode>(p.scalingMode);
    selectedICCProfileID = p.iccProfileID;
    renderingIntent = choiceFrom<RenderingIntent>(p.renderingIntent);
}

void PrintManager::deletePreset(const PrintPreset& preset) {
    std::vector<PrintPreset> list = presets;
    std::erase_if(list, [id = preset.id](const PrintPreset& p) { return p.id == id; });
    presets = std::move(list);
    persistPresets();
}

void PrintManager::persistPresets() const {
    if (const auto document = encodePresets(presets))
        m_platform.preferences.setData(presetsKey, *document);
}

void PrintManager::loadPresets() {
    const auto document = m_platform.preferences.data(presetsKey);
    if (!document)
        return;
    if (auto stored = decodePresets(*document))
        presets = std::move(*stored);
}

} // namespace lumivert
