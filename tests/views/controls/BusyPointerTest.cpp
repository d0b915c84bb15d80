#include "views/controls/BusyPointer.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <gtest/gtest.h>

#include <optional>

namespace lumivert {
namespace {

std::optional<Qt::CursorShape> shownPointer() {
    const QCursor* cursor = QGuiApplication::overrideCursor();
    return cursor ? std::optional(cursor->shape()) : std::nullopt;
}

TEST(BusyPointer, showsWhileItLives) {
    {
        const BusyPointer busy;
        EXPECT_EQ(shownPointer(), Qt::WaitCursor);
    }
    EXPECT_EQ(shownPointer(), std::nullopt);
}

TEST(BusyPointer, nests) {
    const BusyPointer outer;
    {
        const BusyPointer inner;
        EXPECT_EQ(shownPointer(), Qt::WaitCursor);
    }
    EXPECT_EQ(shownPointer(), Qt::WaitCursor);
}

TEST(BusyPointer, asksThePlatformToSendItBeforeTheBlock) {
    int sent = 0;
    std::optional<Qt::CursorShape> pointerWhenSent;
    const auto connection = QObject::connect(QAbstractEventDispatcher::instance(),
                                             &QAbstractEventDispatcher::aboutToBlock, [&] {
                                                 ++sent;
                                                 pointerWhenSent = shownPointer();
                                             });
    {
        const BusyPointer outer;
        EXPECT_EQ(sent, 1);
        EXPECT_EQ(pointerWhenSent, Qt::WaitCursor);
        const BusyPointer inner;
        EXPECT_EQ(sent, 1) << "it shows already";
    }
    QObject::disconnect(connection);
}

TEST(BusyPointer, handlesNoEvent) {
    QObject receiver;
    bool handled = false;
    QMetaObject::invokeMethod(
        &receiver, [&] { handled = true; }, Qt::QueuedConnection);
    { const BusyPointer busy; }
    EXPECT_FALSE(handled);
    QCoreApplication::processEvents();
    EXPECT_TRUE(handled);
}

} // namespace
} // namespace lumivert
