#include "views/controls/Presentation.h"

#include <QDialog>

#include <utility>

namespace lumivert {

Presentation::Presentation(QWidget* window, Published<bool>& flag,
                           std::function<QDialog*(QWidget*)> make,
                           std::function<void(QDialog&, int)> finished)
    : QObject(window)
    , m_window(window)
    , m_flag(flag)
    , m_make(std::move(make))
    , m_finished(std::move(finished))
    , m_subscription(flag.subscribe([this] { follow(); })) {
    follow();
}

void Presentation::follow() {
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

void Presentation::close(int result) {
    QDialog* dialog = std::exchange(m_dialog, nullptr);
    dialog->deleteLater();
    m_flag = false;
    // What follows may hold up the event loop, which would leave the dialog's picture where it was.
    m_window->repaint();
    m_finished(*dialog, result);
}

} // namespace lumivert
