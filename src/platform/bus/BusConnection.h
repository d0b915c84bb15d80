#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>
#include <optional>

class QThread;

namespace lumivert {

/// A connection of its own to a message bus, made when it is first asked for, on another thread: a
/// bus that is slow to answer does not hold up the caller's. Used from one thread.
class BusConnection : public QObject {
public:
    using OnOpen = std::function<void(const std::optional<QDBusConnection>& bus)>;

    /// `address` as in DBUS_SYSTEM_BUS_ADDRESS; empty for the system's bus.
    explicit BusConnection(QString address);
    ~BusConnection() override;

    /// Hands over the connection on a later turn, made anew if it broke; nothing when there is no
    /// bus. A request that still waits is replaced.
    void open(OnOpen onOpen);

private:
    const QString m_address;
    const QString m_name;
    OnOpen m_onOpen;
    QThread* m_thread = nullptr;
};

/// Sends `call` and hands its answer, which may be an error, to `onReply`: once, from the event
/// loop, unless `context` is destroyed before.
void callBus(const QDBusConnection& bus, const QDBusMessage& call, int timeoutMs, QObject* context,
             std::function<void(const QDBusMessage& reply)> onReply);

/// The call that reads a property of a service's object.
[[nodiscard]] QDBusMessage propertyCall(const QString& service, const QString& path,
                                        const QString& interface, const QString& property);
/// The value in the answer to a propertyCall; invalid in an error.
[[nodiscard]] QVariant propertyIn(const QDBusMessage& reply);

} // namespace lumivert
