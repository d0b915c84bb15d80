#include "views/controls/Dialogs.h"

#include "views/controls/Appearance.h"
#include "views/controls/Focus.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>

namespace lumivert {

namespace {

class Presentation : public QObject {
public:
    Presentation(QWidget* window, Published<bool>& flag, std::function<QDialog*(QWidget*)> make,
                 std::function<void(QDialog&, int)> finished)
        : QObject(window)
        , m_window(window)
        , m_flag(flag)
        , m_make(std::move(make))
        , m_finished(std::move(finished))
        , m_subscription(flag.subscribe([this] { follow(); })) {
        follow();
    }

private:
    void follow() {
        if (m_flag.get() == !m_dialog.isNull())
            return;
        if (m_dialog) {
            // Closed by code: nobody answered.
            QDialog* dialog = std::exchange(m_dialog, nullptr);
            dialog->disconnect(this);
            dialog->reject();
            dialog->deleteLater();
            return;
        }
        m_dialog = m_make(m_window);
        connect(m_dialog, &QDialog::finished, this, &Presentation::close);
        m_dialog->open();
    }
    void close(int result) {
        QDialog* dialog = std::exchange(m_dialog, nullptr);
        dialog->deleteLater();
        m_flag = false;
        // What follows may hold up the event loop, which would leave the dialog's picture where it
        // was.
        m_window->repaint();
        m_finished(*dialog, result);
    }

    QWidget* m_window;
    Published<bool>& m_flag;
    std::function<QDialog*(QWidget*)> m_make;
    std::function<void(QDialog&, int)> m_finished;
    QPointer<QDialog> m_dialog;
    Subscription m_subscription;
};

QLabel* plainLabel(const QString& text) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

Alert::Alert(QWidget* parent, const QString& title, const QString& message,
             const QString& acceptLabel)
    : QDialog(parent)
    , m_accept(new QPushButton(acceptLabel)) {
    setWindowTitle(title);
    setAccessibleName(title);
    setAccessibleDescription(message);
    QLabel* heading = plainLabel(title);
    setTextStyle(heading, TextSize::headline, Tone::primary);
    QLabel* body = plainLabel(message);
    body->setWordWrap(true);
    body->setMinimumWidth(260);

    // No QDialogButtonBox: it has the desktop's order.
    auto* cancel = new QPushButton(tr("Cancel"));
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

    m_accept->setDefault(true);
    m_accept->setFocus();
    connect(m_accept, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
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

void present(QWidget* window, Published<bool>& flag, std::function<QDialog*(QWidget*)> make,
             std::function<void(QDialog&, int)> finished) {
    new Presentation(window, flag, std::move(make), std::move(finished));
}

} // namespace lumivert
