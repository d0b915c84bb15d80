#pragma once

#include "model/FileUrl.h"
#include "platform/ItemProvider.h"

#include <QMainWindow>

#include <functional>
#include <string>

class QMenu;
class QMimeData;

namespace lumivert {

class Dispatcher;
class PrintManager;
class ScreenColors;

/// The window: preview and settings side by side, the menus, the file dialog, the drop target and
/// the question before a print. `pm` and `dispatcher` outlive it. It carries no title of its own:
/// the desktop shows the application's name.
class ContentView : public QMainWindow {
    Q_OBJECT
public:
    /// The dropped files among what a drag carries.
    using ProvidersOf = std::function<ItemProviders(const QMimeData&)>;

    /// `printSystem`: asks what "About" says that prints are sent through, with its version.
    ContentView(PrintManager& pm, Dispatcher& dispatcher, ProvidersOf providersOf,
                ScreenColors* screens, std::function<std::string()> printSystem);

    /// The menu that bears the application's name; more items go behind the first.
    [[nodiscard]] QMenu* applicationMenu() const { return m_applicationMenu; }

    /// Takes the first of the dropped items and returns at once whether the drop is accepted, which
    /// is so for any item; a file with one of a drop's endings is loaded on a later turn of the
    /// main thread, anything else is let go silently.
    bool handleDrop(const ItemProviders& providers);

    static constexpr QSize leastSize{900, 650};
    /// How large the window opens the first time on a screen that has that room, less what a window
    /// manager may draw around it.
    [[nodiscard]] static QSize firstSizeIn(QSize room) {
        return QSize(1100, 750).boundedTo(room - QSize(8, 40));
    }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void addMenus();
    void addDialogs();
    void showAbout();
    void load(const FileUrl& url);

    PrintManager& m_pm;
    Dispatcher& m_dispatcher;
    ProvidersOf m_providersOf;
    std::function<std::string()> m_printSystem;
    QMenu* m_applicationMenu = nullptr;
};

} // namespace lumivert
