#pragma once

#include "model/PrintPreset.h"

#include <functional>

class QWidget;

namespace lumivert {

/// A preset in the list: a button with its name and, below, its summary, which calls `apply`; and
/// one with a bin, which calls `remove`.
[[nodiscard]] QWidget* presetRow(const PrintPreset& preset, std::function<void()> apply,
                                 std::function<void()> remove);

} // namespace lumivert
