#pragma once

#include "platform/Observable.h"

#include <QDialog>

#include <functional>

class QLineEdit;
class QPushButton;

namespace lumivert {

/// A title, a message, perhaps one text field, and two buttons: the default one, which accepts, and
/// "Cancel", in this order on every desktop. Its accessible name and its window's title are the
/// title.
class Alert : public QDialog {
    Q_OBJECT
public:
    Alert(QWidget* parent, const QString& title, const QString& message,
          const QString& acceptLabel);

    /// Adds the text field, with the focus.
    QLineEdit* addField(const QString& placeholder, const QString& content);

private:
    QPushButton* m_accept;
};

/// Binds a dialog to a flag, both ways, while `window` lives: the flag set opens one; the dialog
/// closed by a person sets the flag back, once; the flag set back by code closes the dialog. `make`
/// makes a dialog with the given parent; `finished` then hears how a person closed it
/// (QDialog::Accepted or Rejected), after the flag was set back; it hears nothing of a dialog that
/// code closed. `flag` outlives the window.
void present(QWidget* window, Published<bool>& flag, std::function<QDialog*(QWidget*)> make,
             std::function<void(QDialog&, int result)> finished);

} // namespace lumivert
