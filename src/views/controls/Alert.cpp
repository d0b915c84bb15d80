#include "views/controls/Alert.h"

#include "views/controls/Appearance.h"
#include "views/controls/FocusRing.h"

#include <QHBoxLayout>
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

    // No QDialogButtonBox: it has the desktop's order.
    m_accept = new QPushButton(acceptLabel, this);
    auto* cancel = new QPushButton(tr("Cancel"), this);
    m_accept->setDefault(true);
    m_accept->setFocus();
    connect(m_accept, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_accept);
    buttons->addWidget(cancel);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(8);
    layout->addWidget(heading);
    layout->addWidget(body);
    layout->addSpacing(8);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    ringFocusIn(this);
}

QLineEdit* Alert::addField(const QString& placeholder, const QString& content) {
    auto* field = new QLineEdit(content, this);
    field->setPlaceholderText(placeholder);
    field->setAccessibleName(placeholder);
    static_cast<QVBoxLayout*>(layout())->insertWidget(2, field);
    setTabOrder(field, m_accept);
    field->setFocus();
    return field;
}

} // namespace lumivert
