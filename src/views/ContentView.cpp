#include "views/ContentView.h"

#include "manager/PrintManager.h"
#include "platform/Dispatcher.h"
#include "views/ImageFiles.h"
#include "views/PreviewPanel.h"
#include "views/SettingsPanel.h"
#include "views/controls/BusyPointer.h"
#include "views/controls/Dialogs.h"
#include "views/controls/Focus.h"
#include "views/controls/Icons.h"
#include "views/controls/Labels.h"

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
#include <QMimeData>
#include <QPointer>
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
    // Made first, and so refreshed first: when the invitation goes with the focus on it, that finds
    // "Change Image..." in its place.
    auto* settings = new SettingsPanel(pm);
    auto* split = new QSplitter(Qt::Horizontal, this);
    split->setChildrenCollapsible(false);
    split->addWidget(new PreviewPanel(pm, screens));
    split->addWidget(settings);
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
    m_applicationMenu->addAction(tr("Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q), qApp,
                                 &QApplication::quit);

    // In which some styles draw a disabled item a second time, beside the first.
    QPalette palette;
    palette.setColor(QPalette::Disabled, QPalette::Light, Qt::transparent);
    m_applicationMenu->setPalette(palette);

    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(menuText(tr("Open Image...")), QKeySequence(Qt::CTRL | Qt::Key_O), this,
                    [this] { m_pm.showFileImporter = true; });
    new QShortcut(Qt::Key_F10, this, [this] {
        menuBar()->setActiveAction(m_applicationMenu->menuAction());
        m_applicationMenu->setActiveAction(m_applicationMenu->actions().front());
    });
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
            const std::string message = m_pm.selectedPaperSize().name + "\n" +
                                        m_pm.selectedPaperType().name + "\n" +
                                        (m_pm.borderless ? "Borderless" : "With margins");
            return alert(window, tr("Print"), QString::fromStdString(message), tr("Print"));
        },
        [this](QDialog&, int result) {
            if (result != QDialog::Accepted)
                return;
            const BusyPointer busy;
            m_pm.sendToCUPS(false);
        });
}

void ContentView::showAbout() {
    QDialog* about =
        alert(this, tr("Lumivert %1").arg(QCoreApplication::applicationVersion()),
              tr("Prints one photograph at a time, exactly.\nPrints through %1.\nLicence: MIT")
                  .arg(QString::fromStdString(m_printSystem())),
              tr("OK"), nullptr,
              QIcon::fromTheme(QGuiApplication::desktopFileName(), lineIcon(Icon::printer)));
    about->setAttribute(Qt::WA_DeleteOnClose);
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
    const auto completion = [&dispatcher = m_dispatcher,
                             window = QPointer(this)](const std::optional<std::string>& item) {
        auto url = acceptedDrop(item);
        if (!url)
            return;
        dispatcher.asyncOnMain([window, url = std::move(*url)] {
            if (window)
                window->load(url);
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
