#pragma once

#include "views/controls/Binding.h"
#include "views/controls/Icons.h"

#include <QKeySequence>
#include <QString>

#include <functional>
#include <optional>

class QWidget;

namespace lumivert {

enum class ButtonSize { small, regular, large };

struct ButtonOptions {
    ButtonSize size = ButtonSize::regular;
    std::optional<Icon> icon = {};
    /// Stretched to the full width, the label centred.
    bool fullWidth = false;
    /// Filled with the accent colour while it is enabled, painted from the palette's roles.
    bool prominent = false;
    QKeySequence shortcut = {};
    std::function<bool()> enabledWhen = {};
};

/// A push button with room around its label, called by its title.
[[nodiscard]] QWidget* button(const QString& title, std::function<void()> action,
                              const ButtonOptions& options = {});

/// A check box whose mark is painted from the palette's roles, with an outline that can be seen.
[[nodiscard]] QWidget* toggle(const QString& label, Binding<bool> value);

} // namespace lumivert
