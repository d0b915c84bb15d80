#include "views/controls/MillimetreRow.h"

#include "model/NumberText.h"
#include "views/controls/Labels.h"
#include "views/controls/Refresh.h"
#include "views/controls/StepSlider.h"

#include <QHBoxLayout>

#include <utility>

namespace lumivert {

MillimetreRow::MillimetreRow(const QString& label, const Binding<double>& value,
                             std::function<StepScale()> scale, QWidget* parent)
    : QWidget(parent) {
    const QString title = label + QLatin1Char(':');
    auto* name = new FittedLabel(QStringLiteral("Bottom:"), Qt::AlignLeft, this);
    name->setText(title);
    name->setFixedWidth(frameWidth);

    auto* slider = new StepSlider(value, this);
    slider->setAccessibleName(title);
    name->setBuddy(slider);

    auto* number = new FittedLabel(QStringLiteral("888.8 mm"), Qt::AlignRight, this);
    number->setFixedWidth(frameWidth);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(name);
    layout->addWidget(slider, 1);
    layout->addWidget(number);

    whenRefreshed(this, [slider, number, value, scale = std::move(scale)] {
        slider->refresh(scale());
        const QString text = QString::fromStdString(millimetresText(value.get()));
        if (number->text() != text)
            number->setText(text);
    });
}

} // namespace lumivert
