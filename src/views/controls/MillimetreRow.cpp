#include "views/controls/MillimetreRow.h"

#include "model/Text.h"
#include "views/controls/Labels.h"
#include "views/controls/Refresh.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QStyle>

#include <algorithm>
#include <utility>

namespace lumivert {

namespace {

constexpr double longestMM = 10'000;
constexpr QLatin1String unit("mm");

QString exactText(double value) {
    return QLocale::c().toString(value, 'g', QLocale::FloatingPointShortest);
}

bool isReturn(const QEvent& event) {
    if (event.type() != QEvent::KeyPress)
        return false;
    const int key = static_cast<const QKeyEvent&>(event).key();
    return key == Qt::Key_Return || key == Qt::Key_Enter;
}

} // namespace

MillimetreRow::MillimetreRow(const QString& label, const Binding<double>& value,
                             std::function<StepScale()> scale)
    : m_value(value)
    , m_scale(std::move(scale))
    , m_slider(new StepSlider(value)) {
    auto* name = new FittedLabel(QStringLiteral("Bottom:"), Qt::AlignLeft);
    name->setText(label + QLatin1Char(':'));
    name->setFixedWidth(frameWidth);
    name->setBuddy(m_slider);
    m_slider->setAccessibleName(label);
    m_number = new FittedLabel(QStringLiteral("888.8 mm"), Qt::AlignRight);
    m_number->setFixedWidth(frameWidth);
    m_number->setFocusPolicy(Qt::StrongFocus);
    m_number->installEventFilter(this);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(name);
    layout->addWidget(m_slider, 1);
    layout->addWidget(m_number);

    whenRefreshed(this, [this] {
        m_slider->refresh(m_scale());
        const QString text = QString::fromStdString(millimetresText(m_value.get()));
        if (m_number->text() != text)
            m_number->setText(text);
        m_number->setToolTip(exactText(m_value.get()) + QLatin1Char(' ') + unit);
    });
}

MillimetreRow* MillimetreRow::describedAs(const QString& description) {
    m_slider->setAccessibleDescription(description);
    m_number->setAccessibleDescription(m_slider->accessibleName() + QStringLiteral(", ") +
                                       description);
    return this;
}

bool MillimetreRow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_number) {
        if (event->type() != QEvent::MouseButtonDblClick && !isReturn(*event))
            return false;
        openField();
        return true;
    }
    auto* field = static_cast<QLineEdit*>(watched);
    const bool isKey = event->type() == QEvent::KeyPress;
    const bool escapes = isKey && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape;
    const bool leaves = event->type() == QEvent::FocusOut &&
                        static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason;
    if (!escapes && !leaves && !isReturn(*event))
        return false;
    const QString typed = field->text();
    closeField(field);
    if (!escapes)
        take(typed);
    return isKey;
}

void MillimetreRow::openField() {
    auto* field = new QLineEdit(exactText(m_value.get()), this);
    field->setFrame(false);
    field->setAlignment(Qt::AlignRight);
    field->setAccessibleName(m_slider->accessibleName());
    field->setAccessibleDescription(m_slider->accessibleDescription());
    field->installEventFilter(this);
    // Over the slider's end where a large font needs it.
    const QString reference = QStringLiteral("8888.88");
    const int width =
        std::max(frameWidth, fontMetrics().horizontalAdvance(reference) + frameWidth / 4);
    field->setGeometry(QStyle::visualRect(layoutDirection(), rect(),
                                          {rect().width() - width, 0, width, height()}));
    field->selectAll();
    field->show();
    field->setFocus();
}

void MillimetreRow::closeField(QWidget* field) {
    field->removeEventFilter(this);
    const bool hadFocus = field->hasFocus();
    field->hide();
    field->deleteLater();
    if (hadFocus)
        m_number->setFocus();
}

void MillimetreRow::take(const QString& typed) {
    QString number = typed.trimmed();
    if (number.endsWith(unit))
        number.chop(unit.size());
    bool isNumber = false;
    const double value = QLocale::c().toDouble(
        number.trimmed().replace(QLatin1Char(','), QLatin1Char('.')), &isNumber);
    if (isNumber && value >= m_scale().minimum && value <= longestMM && value != m_value.get())
        m_value.set(value);
}

} // namespace lumivert
