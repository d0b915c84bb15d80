#pragma once

#include "platform/Observable.h"

#include <QObject>
#include <QPointer>

#include <functional>

class QDialog;
class QWidget;

namespace lumivert {

/// Binds a dialog to a flag, both ways: the flag set opens one; the dialog closed by a person sets
/// the flag back, once; the flag set back by code closes the dialog. `make` makes a dialog with the
/// given parent; `finished` then hears how a person closed it (QDialog::Accepted or Rejected),
/// after the flag was set back; it hears nothing of a dialog that code closed. `flag` outlives
/// this; `window` owns it.
class Presentation : public QObject {
    Q_OBJECT
public:
    Presentation(QWidget* window, Published<bool>& flag, std::function<QDialog*(QWidget*)> make,
                 std::function<void(QDialog&, int result)> finished);

private:
    void follow();
    void close(int result);

    QWidget* m_window;
    Published<bool>& m_flag;
    std::function<QDialog*(QWidget*)> m_make;
    std::function<void(QDialog&, int)> m_finished;
    QPointer<QDialog> m_dialog;
    Subscription m_subscription;
};

} // namespace lumivert
