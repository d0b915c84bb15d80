#pragma once

#include "platform/Observable.h"

#include <QIcon>
#include <QString>

#include <functional>

class QDialog;
class QLineEdit;
class QWidget;

namespace lumivert {

/// A dialog of a title, a message, perhaps a text field, and two buttons: the default one, which
/// accepts, and "Cancel", in this order on every desktop. Its accessible name and its window's
/// title are the title; the field is called by its placeholder and has the focus. With an icon,
/// beside the message, it tells and does not ask: there is no "Cancel".
[[nodiscard]] QDialog* alert(QWidget* parent, const QString& title, const QString& message,
                             const QString& acceptLabel, QLineEdit* field = nullptr,
                             const QIcon& icon = {});

/// Binds a dialog to a flag, both ways, while `window` lives: the flag set opens one; the dialog
/// closed by a person sets the flag back, once; the flag set back by code closes the dialog. `make`
/// makes a dialog with the given parent; `finished` then hears how a person closed it
/// (QDialog::Accepted or Rejected), after the flag was set back; it hears nothing of a dialog that
/// code closed. `flag` outlives the window.
void present(QWidget* window, Published<bool>& flag, std::function<QDialog*(QWidget*)> make,
             std::function<void(QDialog&, int result)> finished);

} // namespace lumivert
