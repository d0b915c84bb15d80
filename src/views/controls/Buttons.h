#pragma once

#include "views/controls/Icons.h"

#include <QCheckBox>
#include <QPushButton>

#include <optional>

namespace lumivert {

enum class ButtonSize { small, regular, large };

/// A push button with room around its label. A prominent one is filled with the accent colour while
/// it is enabled, painted from the palette's roles; any other looks as the style has it.
class ActionButton : public QPushButton {
    Q_OBJECT
public:
    ActionButton(const QString& title, std::optional<Icon> icon, ButtonSize size, bool prominent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ButtonSize m_size;
    bool m_prominent;
};

/// A check box whose mark is painted from the palette's roles, with an outline that can be seen.
class CheckBox : public QCheckBox {
    Q_OBJECT
public:
    using QCheckBox::QCheckBox;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace lumivert
