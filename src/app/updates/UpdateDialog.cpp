#include "app/updates/UpdateDialog.h"

#include <QDialogButtonBox>
#include <QFont>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <map>
#include <variant>

namespace lumivert {

namespace {

std::string activityText(UpdateActivity activity) {
    return activity == UpdateActivity::waitingForPermission ? "Waiting for permission."
           : activity == UpdateActivity::waitingForOthers
               ? "Waiting until other software has been installed."
               : "";
}

std::string problemText(UpdateProblem problem, bool installing) {
    using enum UpdateProblem;
    static const std::map<UpdateProblem, std::string> texts{
        {noNetwork, "There is no network connection."},
        {notAuthorized, " here, or the permission was not given."},
        {noService, "This system has no PackageKit service, through which Lumivert is updated. Use "
                    "the system's own tools to update it."},
        {serviceLost, "The system's PackageKit service stopped, or does not answer."},
        {notFromRepository, "This copy of Lumivert was not installed from a package repository. "
                            "Update it the way it was installed."},
        {sourcesUnreadable, "A package repository could not be read."},
        {untrusted, "The new version is not signed by anyone this system trusts."},
        {noSpace, "There is not enough room on the disk."},
        {busy, "Other software is being installed. Try again when that is done."},
        {interrupted, "It was cancelled by the system."},
        {other, "The package manager reported a problem."}};
    const std::string work = installing ? "install software" : "look for new software";
    return (problem == notAuthorized ? "You are not allowed to " + work : "") + texts.at(problem);
}

struct Describe {
    UpdateContent operator()(const UpdateChecking& state) const {
        return {.headline = "Checking for updates…",
                .text = activityText(state.progress.activity),
                .dismissLabel = "Cancel",
                .progress = state.progress};
    }
    UpdateContent operator()(const UpdateNotNeeded& state) const {
        return {.headline = "Lumivert is up to date",
                .text = "Version " + state.installedVersion +
                        " is the newest that your package repositories offer.",
                .dismissLabel = "Close"};
    }
    UpdateContent operator()(const AvailableUpdate& state) const {
        return {.headline = "Lumivert " + state.version + " is available",
                .text = "You have version " + state.installedVersion + ".",
                .dismissLabel = "Later",
                .notesLabel = "What changes",
                .notes = state.changes,
                .offersInstall = true};
    }
    UpdateContent operator()(const UpdateInstalling& state) const {
        return {.headline = "Installing Lumivert " + state.version + "…",
                .text = activityText(state.progress.activity),
                .dismissLabel = "Hide", // the installation goes on
                .progress = state.progress};
    }
    UpdateContent operator()(const UpdateInstalled& state) const {
        return {.headline = "Lumivert " + state.version + " is installed",
                .text = "Restart Lumivert to use it.",
                .dismissLabel = "Close"};
    }
    UpdateContent operator()(const UpdateFailed& state) const {
        return {.headline = state.installing ? "The update could not be installed"
                                             : "Lumivert could not check for updates",
                .text = problemText(state.problem, state.installing),
                .dismissLabel = "Close",
                .notesLabel = "Details",
                .notes = state.details};
    }
    UpdateContent operator()(const UpdateUnanswered& /*never shown*/) const { return {}; }
};

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

UpdateContent updateContent(const UpdateState& state) {
    return std::visit(Describe(), state);
}

void UpdateDialog::build() {
    setWindowTitle(QStringLiteral("Software Update"));
    setAttribute(Qt::WA_QuitOnClose, false);
    setMinimumWidth(440);

    m_headline = plainLabel(this);
    QFont bold = m_headline->font();
    bold.setBold(true);
    m_headline->setFont(bold);
    m_text = plainLabel(this);
    m_progress = new QProgressBar(this);
    m_progress->setTextVisible(false);
    m_progress->setAccessibleName(QStringLiteral("Progress"));
    m_notesLabel = new QLabel(this);
    m_notes = new QPlainTextEdit(this);
    m_notes->setReadOnly(true);
    m_notes->setTabChangesFocus(true);
    m_notes->setMinimumHeight(8 * m_notes->fontMetrics().lineSpacing());
    m_notesLabel->setBuddy(m_notes);

    auto* buttons = new QDialogButtonBox(this);
    m_install = buttons->addButton(QStringLiteral("Install"), QDialogButtonBox::AcceptRole);
    m_install->setObjectName(QStringLiteral("install"));
    m_dismiss = buttons->addButton(QString(), QDialogButtonBox::RejectRole);
    m_dismiss->setObjectName(QStringLiteral("dismiss"));

    auto* column = new QVBoxLayout(this);
    column->addWidget(m_headline);
    column->addWidget(m_text);
    column->addWidget(m_progress);
    column->addWidget(m_notesLabel);
    column->addWidget(m_notes, 1);
    column->addStretch();
    column->addWidget(buttons);

    connect(m_install, &QPushButton::clicked, this, [this] { onInstall(); });
    connect(m_dismiss, &QPushButton::clicked, this, &UpdateDialog::reject);
}

void UpdateDialog::reject() {
    onDismiss();
}

void UpdateDialog::fill(const UpdateContent& content) {
    m_headline->setText(text(content.headline));
    setAccessibleName(text(content.headline));
    // Always in its place, also when empty: nothing jumps while the activity changes.
    m_text->setText(text(content.text));
    const auto percent = content.progress ? content.progress->percent : std::nullopt;
    m_progress->setVisible(content.progress.has_value());
    m_progress->setRange(0, percent ? 100 : 0);
    m_progress->setValue(percent.value_or(0));
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

void UpdateDialog::present(const UpdateState& state, Attention attention) {
    const bool opens = !isOpen();
    if (opens && attention == Attention::keep)
        return;
    if (!layout())
        build();

    const UpdateContent content = updateContent(state);
    fill(content);
    const bool quiet = attention == Attention::quiet;
    // Progress leaves size and focus as they are.
    if (opens || m_shownKind != state.index()) {
        m_shownKind = state.index();
        // Someone may be typing elsewhere: Return must not install what came up by itself.
        QPushButton* button = content.offersInstall && !quiet ? m_install : m_dismiss;
        button->setDefault(true);
        button->setFocus();
        adjustSize();
    }
    if (attention == Attention::keep)
        return;
    setAttribute(Qt::WA_ShowWithoutActivating, quiet);
    show();
    if (!quiet) {
        setWindowState(windowState() & ~Qt::WindowMinimized);
        raise();
        activateWindow();
    }
}

} // namespace lumivert
