#include "views/controls/Buttons.h"

#include "views/controls/Appearance.h"

#include <QPainter>
#include <QStyleOptionButton>
#include <QStylePainter>

#include <algorithm>
#include <array>

namespace lumivert {

ActionButton::ActionButton(const QString& title, std::optional<Icon> icon, ButtonSize size,
                           bool prominent)
    : QPushButton(title)
    , m_size(size)
    , m_prominent(prominent) {
    if (icon) {
        setIcon(lineIcon(*icon, prominent ? IconTint::onAccent : IconTint::buttonText));
        setIconSize(iconSize() + QSize(4, 0)); // of which the text stays clear
    }
    if (size == ButtonSize::small)
        setTextStyle(this, TextSize::callout, Tone::primary);
}

QSize ActionButton::sizeHint() const {
    const QSize hint = QPushButton::sizeHint();
    constexpr int room = 14;
    return {hint.width() + room,
            m_size == ButtonSize::large ? hint.height() * 5 / 4 : hint.height()};
}

void ActionButton::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    option.state &= ~QStyle::State_HasFocus; // the window draws a ring
    if (!m_prominent || !isEnabled()) {
        painter.drawControl(QStyle::CE_PushButton, option);
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(accentFill(palette(), isDown()));
    painter.drawRoundedRect(rect(), controlRadius, controlRadius);
    option.palette.setColor(QPalette::ButtonText,
                            palette().color(QPalette::Active, QPalette::HighlightedText));
    painter.drawControl(QStyle::CE_PushButtonLabel, option);
}

void CheckBox::paintEvent(QPaintEvent*) {
    QStyleOptionButton option;
    initStyleOption(&option);
    QPainter painter(this);
    const QRect label = style()->subElementRect(QStyle::SE_CheckBoxContents, &option, this);
    const auto alignment =
        QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(label, static_cast<int>(alignment) | Qt::TextSingleLine, text());

    const QRectF room = style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, this);
    const double side = std::min(room.width(), room.height()) - 1;
    const QRectF box(room.center() - QPointF(side, side) / 2, QSizeF(side, side));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(partColor(palette()));
    painter.setBrush(isChecked() ? accentFill(palette(), isDown())
                                 : palette().color(isDown() ? QPalette::Window : QPalette::Base));
    painter.drawRoundedRect(box, 2, 2);
    if (!isChecked())
        return;
    painter.setPen(QPen(palette().color(QPalette::Active, QPalette::HighlightedText), side / 8,
                        Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const std::array tick{QPointF(0.22, 0.52), QPointF(0.42, 0.72), QPointF(0.78, 0.28)};
    painter.translate(box.topLeft());
    painter.drawPolyline(std::array{tick[0] * side, tick[1] * side, tick[2] * side}.data(),
                         tick.size());
}

} // namespace lumivert
