#include "app/updates/UpdateDialog.h"

#include "app/updates/UpdateTexts.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFont>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace lumivert {

namespace {

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

// What comes from a repository or a service is shown as it is: no markup, no links.
QLabel* plainLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

class UpdateDialog::Widget : public QDialog {
public:
    explicit Widget(const UpdateDialog& owner);

    void fill(const UpdateContent& content);
    /// Which button Return presses.
    void setDefaultButton(bool install);

protected:
    // Escape and the window's close button: the owner decides what they mean.
    void reject() override { dismiss(); }

private:
    void dismiss() {
        if (m_owner.m_actions.dismiss)
            m_owner.m_actions.dismiss();
    }

    const UpdateDialog& m_owner;
    QLabel* m_headline;
    QLabel* m_text;
    QProgressBar* m_progress;
    QLabel* m_notesLabel;
    QPlainTextEdit* m_notes;
    QPushButton* m_install;
    QPushButton* m_dismiss;
};

UpdateDialog::Widget::Widget(const UpdateDialog& owner)
    : m_owner(owner)
    , m_headline(plainLabel(this))
    , m_text(plainLabel(this))
    , m_progress(new QProgressBar(this))
    , m_notesLabel(new QLabel(this))
    , m_notes(new QPlainTextEdit(this))
    , m_install(new QPushButton(QStringLiteral("Install"), this))
    , m_dismiss(new QPushButton(this)) {
    setWindowTitle(QStringLiteral("Software Update"));
    setAttribute(Qt::WA_QuitOnClose, false);
    setMinimumWidth(440);

    QFont bold = m_headline->font();
    bold.setBold(true);
    m_headline->setFont(bold);
    m_progress->setTextVisible(false);
    m_progress->setAccessibleName(QStringLiteral("Progress"));
    m_notes->setReadOnly(true);
    m_notes->setTabChangesFocus(true);
    m_notes->setMinimumHeight(8 * m_notes->fontMetrics().lineSpacing());
    m_notesLabel->setBuddy(m_notes);

    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(m_install, QDialogButtonBox::AcceptRole);
    buttons->addButton(m_dismiss, QDialogButtonBox::RejectRole);
    m_install->setObjectName(QStringLiteral("install"));
    m_dismiss->setObjectName(QStringLiteral("dismiss"));

    auto* column = new QVBoxLayout(this);
    column->addWidget(m_headline);
    column->addWidget(m_text);
    column->addWidget(m_progress);
    column->addWidget(m_notesLabel);
    column->addWidget(m_notes, 1);
    column->addStretch();
    column->addWidget(buttons);

    connect(m_install, &QPushButton::clicked, this, [this] {
        if (m_owner.m_actions.install)
            m_owner.m_actions.install();
    });
    connect(m_dismiss, &QPushButton::clicked, this, [this] { dismiss(); });
}

void UpdateDialog::Widget::fill(const UpdateContent& content) {
    m_headline->setText(text(content.headline));
    setAccessibleName(text(content.headline));
    // Always in its place, also when empty: nothing jumps while the activity changes.
    m_text->setText(text(content.text));
    m_progress->setVisible(content.showsProgress);
    m_progress->setRange(0, content.percent ? 100 : 0);
    m_progress->setValue(content.percent.value_or(0));
    const bool hasNotes = !content.notes.empty();
    m_notesLabel->setVisible(hasNotes);
    m_notesLabel->setText(text(content.notesLabel));
    m_notes->setVisible(hasNotes);
    m_notes->setAccessibleName(text(content.notesLabel));
    if (const QString notes = text(content.notes); m_notes->toPlainText() != notes)
        m_notes->setPlainText(notes);
    m_install->setVisible(content.offersInstall);
    m_dismiss->setText(text(content.dismissLabel));
}

void UpdateDialog::Widget::setDefaultButton(bool install) {
    QPushButton* button = install ? m_install : m_dismiss;
    button->setDefault(true);
    button->setFocus();
}

UpdateDialog::UpdateDialog() = default;
UpdateDialog::~UpdateDialog() = default;

void UpdateDialog::present(const UpdateState& state, Attention attention) {
    const bool opens = !isOpen();
    if (opens && attention == Attention::keep)
        return;
    if (!m_widget)
        m_widget = std::make_unique<Widget>(*this);

    const UpdateContent content = updateContent(state);
    m_widget->fill(content);
    const bool quiet = attention == Attention::quiet;
    // Progress leaves size and focus as they are.
    if (opens || m_shownKind != state.index()) {
        m_shownKind = state.index();
        // Someone may be typing elsewhere: Return must not install what came up by itself.
        m_widget->setDefaultButton(content.offersInstall && !quiet);
        m_widget->adjustSize();
    }
    if (attention == Attention::keep)
        return;
    m_widget->setAttribute(Qt::WA_ShowWithoutActivating, quiet);
    m_widget->show();
    if (!quiet) {
        m_widget->setWindowState(m_widget->windowState() & ~Qt::WindowMinimized);
        m_widget->raise();
        m_widget->activateWindow();
    }
}

void UpdateDialog::close() {
    if (m_widget)
        m_widget->hide();
}

bool UpdateDialog::isOpen() const {
    return m_widget && m_widget->isVisible();
}

QDialog* UpdateDialog::widget() const {
    return m_widget.get();
}

} // namespace lumivert
