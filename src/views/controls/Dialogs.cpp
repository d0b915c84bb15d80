#include "views/controls/Dialogs.h"

#include "views/controls/Builders.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>

namespace lumivert {

namespace {

/// What is open for a flag; a child of its window.
struct Presentation : QObject {
    using QObject::QObject;

    QPointer<QDialog> dialog;
    Subscription subscription;
};

} // namespace

QDialog* alert(QWidget* parent, const QString& title, const QString& message,
               const QString& acceptLabel, QLineEdit* field, const QIcon& icon) {
    auto* dialog = new QDialog(parent);
    dialog->setWindowTitle(title);
    dialog->setAccessibleName(title);
    dialog->setAccessibleDescription(message);
    QWidget* body = paragraph(message, TextSize::body, Tone::primary);
    body->setMinimumWidth(20 * body->fontMetrics().height()); // some 45 letters
    // No QDialogButtonBox: it has the desktop's order.
    QWidget* accept = button(acceptLabel, [dialog] { dialog->accept(); });
    QWidget* cancel = button(QDialog::tr("Cancel"), [dialog] { dialog->reject(); });
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(8);
    QWidget* told = column(8, {text(title, TextSize::headline), body});
    if (!icon.isNull()) {
        auto* picture = new QLabel;
        picture->setPixmap(icon.pixmap(QSize(64, 64), dialog->devicePixelRatio()));
        told = row(20, {picture, told});
        cancel->hide();
    }
    layout->addWidget(told);
    if (field) {
        field->setAccessibleName(field->placeholderText());
        if (QApplication::isRightToLeft()) // whatever the direction of the keyboard
            field->setAlignment(Qt::AlignRight | Qt::AlignAbsolute);
        // Not every style tells it from what is typed.
        whenAppearanceChanges(field, [field] {
            QPalette palette;
            palette.setColor(QPalette::PlaceholderText,
                             colorFor(Tone::secondary, QApplication::palette()));
            field->setPalette(palette);
        });
        layout->addWidget(field);
    }
    layout->addSpacing(8);
    layout->addWidget(row(8, {flexibleSpace(), accept, cancel}));
    layout->setSizeConstraint(QLayout::SetFixedSize);

    // Return presses the one of them that has the focus, else the first.
    for (QWidget* each : {accept, cancel})
        static_cast<QPushButton*>(each)->setAutoDefault(true);
    static_cast<QPushButton*>(accept)->setDefault(true);
    (field ? field : accept)->setFocus();
    ringFocusIn(dialog);
    return dialog;
}

void present(QWidget* window, Published<bool>& flag, std::function<QDialog*(QWidget*)> make,
             std::function<void(QDialog&, int)> finished) {
    auto* shown = new Presentation(window);
    const auto close = [window, &flag, shown, finished = std::move(finished)](int result) {
        QDialog* dialog = std::exchange(shown->dialog, nullptr);
        dialog->deleteLater();
        flag = false;
        // What follows may hold up the event loop, which would leave the dialog's picture where it
        // was.
        window->repaint();
        finished(*dialog, result);
    };
    const auto follow = [window, &flag, shown, make = std::move(make), close] {
        if (flag.get() == !shown->dialog.isNull())
            return;
        if (shown->dialog) {
            // Closed by code: nobody answered.
            QDialog* dialog = std::exchange(shown->dialog, nullptr);
            dialog->disconnect(shown);
            dialog->reject();
            dialog->deleteLater();
            return;
        }
        shown->dialog = make(window);
        QObject::connect(shown->dialog, &QDialog::finished, shown, close);
        shown->dialog->open();
    };
    shown->subscription = flag.subscribe(follow);
    follow();
}

} // namespace lumivert
