#include "views/PresetRow.h"

#include "views/controls/Builders.h"

#include <QAbstractButton>
#include <QPainter>
#include <QStyleOption>
#include <QToolButton>
#include <QVBoxLayout>

#include <utility>

namespace lumivert {

namespace {

/// A button without a frame whose label is two lines, each cut where it does not fit.
class TwoLineButton : public QAbstractButton {
public:
    TwoLineButton(const QString& title, const QString& detail) {
        setText(title); // without a mnemonic: a name may hold any sign
        setShortcut({});
        setAccessibleName(title);
        setAccessibleDescription(detail);
        setToolTip(plainToolTip(title) + QLatin1Char('\n') + detail);
        setAttribute(Qt::WA_Hover);
        setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(presetRowOverhang, 0, presetRowOverhang, 0);
        layout->setSpacing(2);
        const auto line = [](const QString& content, TextSize size, Tone tone) {
            QWidget* made = elidedText([content] { return content; }, size, tone, Qt::ElideRight);
            made->setAttribute(Qt::WA_TransparentForMouseEvents); // with their tool tips
            return made;
        };
        layout->addWidget(line(title, TextSize::callout, Tone::primary));
        layout->addWidget(line(detail, TextSize::caption, Tone::secondary));
    }

protected:
    void paintEvent(QPaintEvent*) override {
        if (!isDown() && !underMouse())
            return;
        QPainter painter(this);
        QColor wash = palette().color(QPalette::WindowText);
        wash.setAlphaF(isDown() ? 0.14F : 0.06F);
        paintRounded(painter, rect(), controlRadius, wash);
    }
};

class Bin : public QToolButton {
protected:
    void initStyleOption(QStyleOptionToolButton* option) const override {
        QToolButton::initStyleOption(option);
        option->state &= ~QStyle::State_HasFocus; // the window draws a ring
    }
};

} // namespace

QWidget* presetRow(const PrintPreset& preset, std::function<void()> apply,
                   std::function<void()> remove) {
    const QString name = QString::fromStdString(preset.name);
    auto* applyButton = new TwoLineButton(name, QString::fromStdString(presetSummary(preset)));
    QObject::connect(applyButton, &QAbstractButton::clicked, applyButton, std::move(apply));
    auto* bin = new Bin;
    bin->setAutoRaise(true);
    bin->setIcon(lineIcon(Icon::trash, IconTint::secondary));
    whenAppearanceChanges(bin, [bin] {
        const int side = iconSide(bin->fontMetrics());
        bin->setIconSize({side, side});
    });
    bin->setFocusPolicy(Qt::StrongFocus);
    bin->setAccessibleName(QObject::tr("Delete %1").arg(name));
    bin->setToolTip(plainToolTip(bin->accessibleName()));
    QObject::connect(bin, &QAbstractButton::clicked, bin, std::move(remove));
    return padded(2, row(4, {applyButton, flexibleSpace(), bin}));
}

} // namespace lumivert
