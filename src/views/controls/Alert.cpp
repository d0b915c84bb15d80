#include "views/controls/Alert.h"

#include "views/controls/Appearance.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace lumivert {

Alert::Alert(QWidget* parent, const QString& title, const QString& message,
             const QString& acceptLabel)
    : QDialog(parent) {
    setWindowTitle(title);
    setAccessibleName(title);
    setAccessibleDescription(message);

    auto* heading = new QLabel(title, this);
    heading->setTextFormat(Qt::PlainText);
    setTextStyle(heading, TextSize::headline, Tone::primary);
    auto* body = new QLabel(message, this);
    body->setTextFormat(Qt::PlainText);
    body->setWordWrap(true);
    body->setMinimumWidth(260);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* accept = buttons->addButton(acceptLabel, QDialogButtonBox::AcceptRole);
    buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    accept->setDefault(true);
    accept->setFocus();
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(8);
    layout->addWidget(heading);
    layout->addWidget(body);
    layout->addSpacing(8);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

QLineEdit* Alert::addField(const QString& placeholder, const QString& content) {
    auto* field = new QLineEdit(content, this);
    field->setPlaceholderText(placeholder);
    field->setAccessibleName(placeholder);
    static_cast<QVBoxLayout*>(layout())->insertWidget(2, field);
    setTabOrder(field, findChild<QDialogButtonBox*>());
    field->setFocus();
    return field;
}

} // namespace lumivert
