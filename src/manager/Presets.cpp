#include "manager/PrintManager.h"
#include "platform/PreferencesStore.h"

#include <type_traits>
#include <utility>
#include <vector>

namespace lumivert {
namespace {

constexpr const char* presetsKey = "SavedPrintPresets";

// A choice is kept as its text; any text but a case's means the first of its type.
template <class Field, class Property>
void keep(const PrintManager& m, Kept<Field> field, Property property) {
    const auto& value = property(m)->get();
    if constexpr (std::is_enum_v<std::remove_cvref_t<decltype(value)>>)
        field.value = rawValue(value);
    else
        field.value = value;
}
template <class Field, class Property>
void apply(PrintManager& m, Kept<Field> field, Property property) {
    using Value = std::remove_cvref_t<decltype(property(m)->get())>;
    if constexpr (std::is_enum_v<Value>)
        *property(m) = fromRawValue<Value>(field.value).value_or(allCases<Value>().front());
    else
        *property(m) = field.value;
}

using Side = Kept<double>;
template <class Property>
void keep(const PrintManager& m, Side top, Side bottom, Side left, Side right, Property property) {
    const Margins& margins = *property(m);
    top.value = margins.top;
    bottom.value = margins.bottom;
    left.value = margins.left;
    right.value = margins.right;
}
template <class Property>
void apply(PrintManager& m, Side top, Side bottom, Side left, Side right, Property property) {
    *property(m) = {
        .top = top.value, .bottom = bottom.value, .left = left.value, .right = right.value};
}

} // namespace

void PrintManager::savePreset(const std::string& name) {
    PrintPreset preset;
    preset.id = m_platform.randomUuid();
    preset.name = name;
    forEachSetting(preset, [&](auto... parts) { keep(*this, parts...); });
    std::vector<PrintPreset> list = presets;
    list.push_back(std::move(preset));
    presets = std::move(list);
    persistPresets();
}

void PrintManager::applyPreset(const PrintPreset& preset) {
    PrintPreset copy = preset; // the caller's may lie in `presets`, which an observer replaces
    forEachSetting(copy, [&](auto... parts) { apply(*this, parts...); });
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
