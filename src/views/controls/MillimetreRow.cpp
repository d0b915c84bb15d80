#include "views/controls/MillimetreRow.h"

#include "model/Text.h"
#include "platform/FatalError.h"
#include "views/controls/Builders.h"
#include "views/controls/StepSlider.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QShortcut>
#include <QStyle>

#include <algorithm>
#include <utility>

namespace lumivert {

namespace {

constexpr int frameWidth = 55;
constexpr double longestMM = 10'000;
constexpr QLatin1String unit("mm");

QString exactText(double value) {
    return QLocale::c().toString(value, 'g', QLocale::FloatingPointShortest);
}

/// The value of a row; a child of the label that shows it.
class LengthInPlace : public QObject {
public:
    LengthInPlace(QLabel* number, StepSlider* slider, Binding<double> value)
        : QObject(number)
        , m_number(number)
        , m_slider(slider)
        , m_value(std::move(value)) {
        number->setFocusPolicy(Qt::StrongFocus);
        number->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        const int key =
            event->type() == QEvent::KeyPress ? static_cast<QKeyEvent*>(event)->key() : 0;
        const bool opens = event->type() == QEvent::MouseButtonDblClick || key == Qt::Key_Return ||
                           key == Qt::Key_Enter;
        if (opens)
            openField();
        return opens;
    }

private:
    void openField() {
        QWidget* row = m_number->parentWidget();
        auto* field = new QLineEdit(exactText(m_value.get()), row);
        field->setFrame(false);
        field->setAlignment(Qt::AlignRight);
        field->setAccessibleName(m_slider->accessibleName());
        field->setAccessibleDescription(m_slider->accessibleDescription());
        // Over the slider's end where a large font needs it.
        const int width =
            std::max(frameWidth, row->fontMetrics().horizontalAdvance(QStringLiteral("8888.88")) +
                                     frameWidth / 4);
        field->setGeometry(QStyle::visualRect(row->layoutDirection(), row->rect(),
                                              {row->width() - width, 0, width, row->height()}));

        const auto close = [this, field](bool takes) {
            disconnect(qApp, nullptr, field, nullptr);
            if (takes)
                take(field->text());
            const bool hadFocus = field->hasFocus();
            field->hide();
            field->deleteLater();
            if (hadFocus)
                m_number->setFocus();
        };
        connect(field, &QLineEdit::returnPressed, field, [close] { close(true); });
        connect(qApp, &QApplication::focusChanged, field, [field, close](QWidget* left) {
            if (left == field)
                close(true);
        });
        new QShortcut(
            Qt::Key_Escape, field, [close] { close(false); }, Qt::WidgetShortcut);
        field->selectAll();
        field->show();
        field->setFocus();
    }
    void take(const QString& typed) {
        QString number = typed.trimmed();
        if (number.endsWith(unit))
            number.chop(unit.size());
        bool isNumber = false;
        const double value = QLocale::c().toDouble(
            number.trimmed().replace(QLatin1Char(','), QLatin1Char('.')), &isNumber);
        if (isNumber && value >= m_slider->scale().minimum && value <= longestMM &&
            value != m_value.get())
            m_value.set(value);
    }

    QLabel* m_number;
    StepSlider* m_slider;
    Binding<double> m_value;
};

QWidget* millimetreRow(const QString& label, const QString& description,
                       const Binding<double>& value, std::function<StepScale()> scale) {
    auto* slider = new StepSlider(value);
    slider->setAccessibleName(label);
    slider->setAccessibleDescription(description);
    QLabel* name = fittedLabel(QStringLiteral("Bottom:"), Qt::AlignLeft);
    name->setText(label + QLatin1Char(':'));
    name->setFixedWidth(frameWidth);
    name->setBuddy(slider);
    QLabel* number = fittedLabel(QStringLiteral("888.8 mm"), Qt::AlignRight);
    number->setFixedWidth(frameWidth);
    number->setAccessibleDescription(label + QStringLiteral(", ") + description);
    new LengthInPlace(number, slider, value);

    QWidget* holder = row(6, {name, slider, number});
    whenRefreshed(holder, [slider, number, get = value.get, scale = std::move(scale)] {
        slider->refresh(scale());
        number->setText(QString::fromStdString(millimetresText(get())));
        number->setToolTip(exactText(get()) + QLatin1Char(' ') + unit);
    });
    return holder;
}

} // namespace

QWidget* marginSlider(const QString& label, const QString& description,
                      const Binding<double>& value, std::function<double()> max) {
    return millimetreRow(label, description, value, [max = std::move(max)] {
        return StepScale{0, std::max(max(), 0.5)};
    });
}

QWidget* imageSizeInput(const QString& label, const QString& description,
                        const Binding<double>& value, std::function<double()> maxValue) {
    return millimetreRow(label, description, value, [maxValue = std::move(maxValue)] {
        const StepScale scale{1, maxValue()};
        if (!(scale.maximum >= scale.minimum))
            fatalError("an image size cannot be chosen for a sheet smaller than 1 mm");
        return scale;
    });
}

} // namespace lumivert
