#pragma once

#include <QAbstractEventDispatcher>
#include <QCursor>
#include <QGuiApplication>

namespace lumivert {

/// Shows the wait pointer over every window of the program while it lives, from its construction
/// on, although the event loop does not run: the request is sent to the display server, and no
/// event is handled meanwhile. Nests. Needs the application object. Main thread.
class BusyPointer {
public:
    BusyPointer() {
        const bool isShown = QGuiApplication::overrideCursor() != nullptr;
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        // The platform plugins send what they have gathered when the event loop is about to sleep,
        // and listen to this signal for it; handling events here would let other operations in.
        if (auto* dispatcher = QAbstractEventDispatcher::instance(); dispatcher && !isShown)
            Q_EMIT dispatcher->aboutToBlock();
    }
    ~BusyPointer() { QGuiApplication::restoreOverrideCursor(); }
    BusyPointer(const BusyPointer&) = delete;
    BusyPointer& operator=(const BusyPointer&) = delete;
};

} // namespace lumivert
