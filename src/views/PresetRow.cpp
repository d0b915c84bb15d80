#include "views/PresetRow.h"

#include "views/controls/Builders.h"
#include "views/controls/Labels.h"

#include <QAbstractButton>
#include <QPainter>
#include <QStyle>
#include <QToolButton>

#include <algorithm>
#include <utility>

namespace lumivert {

namespace {

/// A button without a frame whose label is two lines, each cut where it does not fit.
class TwoLineButton : public QAbstractButton {
public:
    TwoLineButton(const QString& title, QString detail)
        : m_detail(std::move(detail)) {
        setText(title); // without a mnemonic: a name may hold any sign
        setShortcut({});
        setAccessibleName(title);
        setAccessibleDescription(m_detail);
        setToolTip(plainToolTip(title) + QLatin1Char('\n') + m_detail);
        setAttribute(Qt::WA_Hover);
        setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    }

    QSize sizeHint() const override {
        const int text = std::max(titleMetrics().horizontalAdvance(this->text()),
                                  detailMetrics().horizontalAdvance(m_detail));
        return {text + 2 * presetRowOverhang, minimumSizeHint().height()};
    }
    QSize minimumSizeHint() const override {
        return {2 * presetRowOverhang,
                titleMetrics().height() + lineGap + detailMetrics().height()};
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        if (isDown() || underMouse()) {
            QColor wash = palette().color(QPalette::WindowText);
            wash.setAlphaF(isDown() ? 0.14F : 0.06F);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(Qt::NoPen);
            painter.setBrush(wash);
            painter.drawRoundedRect(rect(), 3, 3);
        }
        drawLine(painter, titleFont(), Tone::primary, text(), 0);
        drawLine(painter, detailFont(), Tone::secondary, m_detail,
                 titleMetrics().height() + lineGap);
    }

private:
    static constexpr int lineGap = 2;

    QFont titleFont() const { return fontFor(TextSize::callout, font()); }
    QFont detailFont() const { return fontFor(TextSize::caption, font()); }
    QFontMetrics titleMetrics() const { return QFontMetrics(titleFont()); }
    QFontMetrics detailMetrics() const { return QFontMetrics(detailFont()); }

    void drawLine(QPainter& painter, const QFont& font, Tone tone, const QString& line,
                  int top) const {
        const QFontMetrics metrics(font);
        painter.setFont(font);
        painter.setPen(colorFor(tone, palette()));
        const QRect box(presetRowOverhang, top, width() - 2 * presetRowOverhang, metrics.height());
        const auto alignment =
            QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter);
        painter.drawText(box, static_cast<int>(alignment) | Qt::TextSingleLine,
                         metrics.elidedText(line, Qt::ElideRight, box.width()));
    }

    QString m_detail;
};

QToolButton* removeButton(const QString& name) {
    auto* button = new QToolButton;
    button->setAutoRaise(true);
    button->setIcon(lineIcon(Icon::trash, IconTint::secondary));
    button->setIconSize({16, 16});
    button->setFocusPolicy(Qt::StrongFocus);
    button->setAccessibleName(QObject::tr("Delete %1").arg(name));
    button->setToolTip(QObject::tr("Delete"));
    return button;
}

} // namespace

QWidget* presetRow(const PrintPreset& preset, std::function<void()> apply,
                   std::function<void()> remove) {
    const QString name = QString::fromStdString(preset.name);
    auto* applyButton = new TwoLineButton(name, QString::fromStdString(presetSummary(preset)));
    QObject::connect(applyButton, &QAbstractButton::clicked, applyButton, std::move(apply));
    QToolButton* bin = removeButton(name);
    QObject::connect(bin, &QAbstractButton::clicked, bin, std::move(remove));
    return padded(2, row(4, {applyButton, flexibleSpace(), bin}));
}

} // namespace lumivert
