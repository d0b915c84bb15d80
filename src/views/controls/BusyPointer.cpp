#include "views/controls/BusyPointer.h"

#include <QAbstractEventDispatcher>
#include <QCursor>
#include <QGuiApplication>

namespace lumivert {

BusyPointer::BusyPointer() {
    const bool alreadyShown = QGuiApplication::overrideCursor() != nullptr;
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    // The platform plugins send what they have gathered when the event loop is about to sleep, and
    // listen to this signal for it; handling events here would let other operations in.
    if (auto* dispatcher = QAbstractEventDispatcher::instance(); dispatcher && !alreadyShown)
        Q_EMIT dispatcher->aboutToBlock();
}

BusyPointer::~BusyPointer() {
    QGuiApplication::restoreOverrideCursor();
}

} // namespace lumivert
