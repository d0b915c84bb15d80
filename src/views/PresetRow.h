#pragma once

#include "model/PrintPreset.h"

#include <functional>

class QWidget;

namespace lumivert {

/// By how much the wash of a row under the pointer goes beyond its text: what a row is to overhang
/// the column by, so that its text stands in line.
inline constexpr int presetRowOverhang = 3;

/// A preset in the list: a button with its name and, below, its summary, which calls `apply`; and
/// one with a bin, which calls `remove`.
[[nodiscard]] QWidget* presetRow(const PrintPreset& preset, std::function<void()> apply,
                                 std::function<void()> remove);

} // namespace lumivert
