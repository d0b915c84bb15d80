#pragma once

#include "platform/Platform.h"
#include "platform/updates/SPUStandardUpdaterController.h"
#include "views/ContentView.h"

#include <QList>
#include <QUrl>

#include <functional>
#include <memory>
#include <string>

namespace lumivert {

class PrintManager;

/// What the application is given. Everything referred to outlives it.
struct AppServices {
    Platform platform;
    UpdateServices updates;
    ContentView::ProvidersOf providersOf;
    /// The print system and its version, for people.
    std::function<std::string()> printSystem = [] { return std::string(); };
    /// Called once, when the first window has been painted.
    std::function<void()> firstWindowPainted;
    /// The colours of the screens; null where all take sRGB.
    ScreenColors* screens = nullptr;
};

/// The application: the updater, started at once; one PrintManager, made when the first
/// window is; and the window, as large as it was left and where it was. Needs the QApplication;
/// main thread.
class LumivertApp {
public:
    explicit LumivertApp(AppServices services);
    ~LumivertApp();

    /// Builds the window, and the state behind it, and shows it. Blocks while the print system's
    /// tools run. Called once.
    void openWindow();

    /// Shows the window in front of others, as far as the desktop lets it.
    void bringForward();
    /// As if the files were dropped on the window.
    void open(const QList<QUrl>& files);

    /// Null before openWindow.
    [[nodiscard]] PrintManager* printManager() const { return m_printManager.get(); }
    [[nodiscard]] ContentView* window() const { return m_window.get(); }

private:
    AppServices m_services;
    SPUStandardUpdaterController m_updaterController;
    std::unique_ptr<PrintManager> m_printManager;
    std::unique_ptr<ContentView> m_window;
};

} // namespace lumivert
