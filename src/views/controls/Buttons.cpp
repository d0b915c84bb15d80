#include "views/controls/Buttons.h"

#include "views/controls/Appearance.h"
#include "views/controls/Refresh.h"

#include <QCheckBox>
#include <QPushButton>
#include <QStyleOptionButton>
#include <QStylePainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace lumivert {

namespace {

class ActionButton : public QPushButton {
public:
    ActionButton(const QString& title, ButtonSize size, bool prominent)
        : QPushButton(title)
        , m_size(size)
        , m_prominent(prominent) {}

    QSize sizeHint() const override {
        const QSize hint = QPushButton::sizeHint();
        constexpr int room = 14;
        return {hint.width() + room,
                m_size == ButtonSize::large ? hint.height() * 5 / 4 : hint.height()};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void initStyleOption(QStyleOptionButton* option) const override {
        QPushButton::initStyleOption(option);
        option->state &= ~QStyle::State_HasFocus; // the window draws a ring
    }
    void paintEvent(QPaintEvent*) override {
        QStyleOptionButton option;
        initStyleOption(&option);
        constexpr int least = 6; // on either side of what is shown
        const int needed = fontMetrics().horizontalAdvance(text()) + iconSize().width() + 2 * least;
        if (width() < needed)
            option.icon = {};
        QStylePainter painter(this);
        // Styles mirror a label with an icon themselves, and the painter its text once more.
        painter.setLayoutDirection(Qt::LeftToRight);
        if (m_prominent && isEnabled()) {
            option.palette.setColor(QPalette::ButtonText,
                                    active(palette(), QPalette::HighlightedText));
            paintRounded(painter, rect(), controlRadius, accentFill(palette(), isDown()));
        } else {
            painter.drawControl(QStyle::CE_PushButtonBevel, option);
            option.rect = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this);
        }
        // In which some styles draw a label a second time, beside the first.
        option.palette.setColor(QPalette::Light, Qt::transparent);
        painter.drawControl(QStyle::CE_PushButtonLabel, option);
    }

private:
    ButtonSize m_size;
    bool m_prominent;
};

class CheckBox : public QCheckBox {
public:
    using QCheckBox::QCheckBox;

    QSize sizeHint() const override { return QCheckBox::sizeHint() + QSize(growth(), 0); }

protected:
    void paintEvent(QPaintEvent*) override {
        QStylePainter painter(this);
        QStyleOptionButton option;
        initStyleOption(&option);
        const int more = growth();
        const QRectF room =
            QRectF(style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, this))
                .adjusted(isRightToLeft() ? -more : 0, -more / 2.0, isRightToLeft() ? 0 : more,
                          more / 2.0);
        option.rect = style()
                          ->subElementRect(QStyle::SE_CheckBoxContents, &option, this)
                          .translated(isRightToLeft() ? -more : more, 0);
        painter.drawControl(QStyle::CE_CheckBoxLabel, option);

        // No larger than its text, where the style has room for the pointer around it.
        const double side =
            std::min({room.width(), room.height(), double(iconSide(fontMetrics()))}) - 1;
        const QPointF corner = room.center() - QPointF(side, side) / 2;
        const QRectF box(std::floor(corner.x()) + 0.5, std::floor(corner.y()) + 0.5, side, side);
        const QColor empty = palette().color(isDown() ? QPalette::Window : QPalette::Base);
        paintRounded(painter, box, 2, isChecked() ? accentFill(palette(), isDown()) : empty,
                     partColor(palette()));
        if (!isChecked())
            return;
        painter.setPen(QPen(active(palette(), QPalette::HighlightedText), side / 8, Qt::SolidLine,
                            Qt::RoundCap, Qt::RoundJoin));
        const std::array tick{QPointF(0.22, 0.52) * side, QPointF(0.42, 0.72) * side,
                              QPointF(0.78, 0.28) * side};
        painter.translate(box.topLeft());
        painter.drawPolyline(tick.data(), tick.size());
    }

private:
    /// How much wider than the style's the mark is beside a large text.
    [[nodiscard]] int growth() const {
        const int own = style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, this);
        return std::max(0, fontMetrics().height() * 3 / 4 - own);
    }
};

} // namespace

QWidget* button(const QString& title, std::function<void()> action, const ButtonOptions& options) {
    auto* button = new ActionButton(title, options.size, options.prominent);
    button->setAccessibleName(title);
    button->setSizePolicy(options.fullWidth ? QSizePolicy::Minimum : QSizePolicy::Fixed,
                          QSizePolicy::Fixed);
    button->setAutoDefault(false);
    if (options.size == ButtonSize::small)
        setTextStyle(button, TextSize::callout, Tone::primary);
    if (options.icon) {
        button->setIcon(
            lineIcon(*options.icon, options.prominent ? IconTint::onAccent : IconTint::buttonText));
        whenAppearanceChanges(button, [button] {
            const int side = iconSide(button->fontMetrics());
            button->setIconSize({side + 4, side}); // the text stays clear of it
        });
    }
    if (!options.shortcut.isEmpty()) {
        const QString keys = options.shortcut.toString(QKeySequence::NativeText);
        button->setShortcut(options.shortcut);
        button->setToolTip(QStringLiteral("%1 (%2)").arg(title, keys));
        button->setAccessibleDescription(keys);
    }
    if (options.enabledWhen)
        whenRefreshed(button,
                      [button, enabled = options.enabledWhen] { button->setEnabled(enabled()); });
    QObject::connect(button, &QPushButton::clicked, button, std::move(action));
    return button;
}

QWidget* toggle(const QString& label, Binding<bool> value) {
    auto* box = new CheckBox(label);
    box->setAccessibleName(label);
    whenRefreshed(box, [box, get = value.get] {
        const QSignalBlocker blocker(box);
        box->setChecked(get());
    });
    // Not clicked: assistive technology toggles.
    QObject::connect(box, &QCheckBox::toggled, box, std::move(value.set));
    return box;
}

} // namespace lumivert
