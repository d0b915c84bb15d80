#pragma once

#include <QDialog>

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

} // namespace lumivert
