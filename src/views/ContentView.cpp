#include "views/ContentView.h"

#include "manager/PrintManager.h"
#include "platform/Dispatcher.h"
#include "views/ImageFiles.h"
#include "views/PreviewPanel.h"
#include "views/SettingsPanel.h"
#include "views/SettingsTexts.h"
#include "views/controls/BusyPointer.h"
#include "views/controls/Dialogs.h"
#include "views/controls/Focus.h"
#include "views/controls/Icons.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>
#include <QStandardPaths>

#include <utility>

namespace lumivert {

namespace {

/// Where the current photo lies, else where the desktop keeps pictures, else the user's folder.
QString startFolder(const PrintManager& pm) {
    if (const auto& url = pm.imageURL.get())
        return QFileInfo(QFile::decodeName(QByteArray::fromStdString(url->path()))).path();
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    return QFileInfo(pictures).isDir() ? pictures : QDir::homePath();
}

} // namespace

ContentView::ContentView(PrintManager& pm, Dispatcher& dispatcher, ProvidersOf providersOf,
                         ScreenColors* screens, std::function<std::string()> printSystem)
    : m_pm(pm)
    , m_dispatcher(dispatcher)
    , m_providersOf(std::move(providersOf))
    , m_printSystem(std::move(printSystem)) {
    setAcceptDrops(true);
    setAccessibleName(QStringLiteral("Lumivert"));
    auto* split = new QSplitter(Qt::Horizontal, this);
    split->setChildrenCollapsible(false);
    split->addWidget(new PreviewPanel(pm, screens, split));
    split->addWidget(new SettingsPanel(pm, split));
    split->setStretchFactor(0, 1);
    split->setStretchFactor(1, 0);
    split->setMinimumSize(leastSize);
    setCentralWidget(split);
    addMenus();
    addDialogs();
    ringFocusIn(this);
    resize(firstSizeIn(screen()->availableSize()));
}

void ContentView::addMenus() {
    m_applicationMenu = menuBar()->addMenu(QStringLiteral("&Lumivert"));
    m_applicationMenu->addAction(tr("About Lumivert"), this, &ContentView::showAbout);
    m_applicationMenu->addSeparator();
    QAction* quit = m_applicationMenu->addAction(tr("Quit"), qApp, &QApplication::quit);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));

    QMenu* file = menuBar()->addMenu(tr("&File"));
    QAction* open =
        file->addAction(tr("Open Image..."), this, [this] { m_pm.showFileImporter = true; });
    open->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_O));

    connect(new QShortcut(Qt::Key_F10, this), &QShortcut::activated, this,
            [this] { menuBar()->setActiveAction(m_applicationMenu->menuAction()); });
}

void ContentView::addDialogs() {
    present(
        this, m_pm.showFileImporter,
        [this](QWidget* window) { return makeOpenImageDialog(window, startFolder(m_pm)); },
        [this](QDialog& dialog, int result) {
            const QUrl file = static_cast<QFileDialog&>(dialog).selectedUrls().value(0);
            if (result == QDialog::Accepted && file.isLocalFile())
                load(FileUrl::fromPath(QFile::encodeName(file.toLocalFile()).toStdString()));
        });
    present(
        this, m_pm.showConfirmPrint,
        [this](QWidget* window) {
            const std::string message = confirmationText(m_pm.selectedPaperSize(),
                                                         m_pm.selectedPaperType(), m_pm.borderless);
            return new Alert(window, tr("Print"), QString::fromStdString(message), tr("Print"));
        },
        [this](QDialog&, int result) {
            if (result != QDialog::Accepted)
                return;
            const BusyPointer busy;
            m_pm.sendToCUPS(false);
        });
}

void ContentView::showAbout() {
    auto* about = new QMessageBox(this);
    about->setAttribute(Qt::WA_DeleteOnClose);
    about->setWindowTitle(tr("About Lumivert"));
    const QIcon icon =
        QIcon::fromTheme(QGuiApplication::desktopFileName(), lineIcon(Icon::printer));
    about->setIconPixmap(icon.pixmap(QSize(64, 64), devicePixelRatio()));
    about->setTextFormat(Qt::PlainText);
    // In one text: a message box wraps its second one at a few words.
    about->setText(QStringLiteral("Lumivert %1\n").arg(QCoreApplication::applicationVersion()) +
                   tr("Prints one photograph at a time, exactly.") + QLatin1Char('\n') +
                   tr("Prints through %1.").arg(QString::fromStdString(m_printSystem())) +
                   QLatin1Char('\n') + tr("Licence: %1").arg(QStringLiteral("MIT")));
    about->setStandardButtons(QMessageBox::Ok);
    about->open();
}

void ContentView::keyPressEvent(QKeyEvent* event) {
    auto* button = qobject_cast<QAbstractButton*>(focusWidget());
    if (button && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter))
        button->animateClick();
    else
        QMainWindow::keyPressEvent(event);
}

void ContentView::load(const FileUrl& url) {
    const BusyPointer busy;
    m_pm.loadImage(url);
}

bool ContentView::handleDrop(const ItemProviders& providers) {
    if (providers.empty())
        return false;
    const auto completion =
        [this, &dispatcher = m_dispatcher,
         window = std::weak_ptr<const bool>(m_alive)](const std::optional<std::string>& item) {
            auto url = acceptedDrop(item);
            if (!url)
                return;
            dispatcher.asyncOnMain([this, window, url = std::move(*url)] {
                if (!window.expired())
                    load(url);
            });
        };
    providers.front()(fileUrlType, completion);
    return true;
}

void ContentView::dragEnterEvent(QDragEnterEvent* event) {
    if (m_providersOf(*event->mimeData()).empty())
        return;
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void ContentView::dropEvent(QDropEvent* event) {
    if (!handleDrop(m_providersOf(*event->mimeData())))
        return;
    // Never a move: the source would then remove the file.
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

} // namespace lumivert
