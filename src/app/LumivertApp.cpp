#include "app/LumivertApp.h"

#include "app/updates/CheckForUpdatesView.h"
#include "manager/PrintManager.h"
#include "platform/PreferencesStore.h"
#include "views/controls/Labels.h"

#include <QEvent>
#include <QMenu>
#include <QMimeData>
#include <QTimer>

#include <utility>

namespace lumivert {

namespace {

constexpr auto geometryKey = "Window/Geometry";

/// Runs `task` on the turn after the watched widget's first painting, and is done.
class FirstPaint : public QObject {
public:
    FirstPaint(QWidget* widget, std::function<void()> task)
        : QObject(widget)
        , m_task(std::move(task)) {
        widget->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            QTimer::singleShot(0, this, [this] {
                deleteLater();
                m_task();
            });
        }
        return false;
    }

private:
    std::function<void()> m_task;
};

} // namespace

LumivertApp::LumivertApp(AppServices services)
    : m_services(std::move(services))
    , m_updaterController(m_services.updates) {}

LumivertApp::~LumivertApp() {
    if (!m_window)
        return;
    const std::string geometry = m_window->saveGeometry().toStdString();
    PreferencesStore& preferences = m_services.platform.preferences;
    if (preferences.data(geometryKey) != geometry)
        preferences.setData(geometryKey, geometry);
}

void LumivertApp::openWindow() {
    m_printManager = std::make_unique<PrintManager>(m_services.platform);
    m_window = std::make_unique<ContentView>(*m_printManager, m_services.platform.dispatcher,
                                             m_services.providersOf, m_services.screens,
                                             m_services.printSystem);
    // Qt keeps what it restores on a screen, and refuses what was left on one of quite another
    // width.
    if (const auto geometry = m_services.platform.preferences.data(geometryKey))
        m_window->restoreGeometry(QByteArray::fromStdString(*geometry));
    QMenu* menu = m_window->applicationMenu();
    QAction* behindAbout = menu->actions().value(1);
    auto* check = new CheckForUpdatesView(m_updaterController.updater(),
                                          m_services.platform.dispatcher, menu);
    check->setText(menuText(check->text()));
    menu->insertAction(behindAbout, check);
    if (m_services.firstWindowPainted)
        new FirstPaint(m_window.get(), m_services.firstWindowPainted);
    m_window->show();
}

void LumivertApp::bringForward() {
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void LumivertApp::open(const QList<QUrl>& files) {
    QMimeData mime;
    mime.setUrls(files);
    m_window->handleDrop(m_services.providersOf(mime));
}

} // namespace lumivert
