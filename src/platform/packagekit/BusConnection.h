#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

class QThread;

namespace lumivert {

/// A connection of its own to a message bus, made when it is first asked for, on another thread: a
/// bus that is slow to answer does not hold up the caller's. Used from one thread.
class BusConnection : public QObject {
    Q_OBJECT

public:
    using OnOpen = std::function<void(const std::optional<QDBusConnection>& bus)>;

    /// `address` as in DBUS_SYSTEM_BUS_ADDRESS; empty for the system's bus.
    explicit BusConnection(QString address);
    ~BusConnection() override;

    /// Hands over the connection on a later turn, made anew if it broke; nothing when there is no
    /// bus. One request at a time.
    void open(OnOpen onOpen);

    /// The request that waits gets no answer any more.
    void forget() { m_onOpen = nullptr; }

private:
    void answer();

    QString m_address;
    QString m_name;
    OnOpen m_onOpen;
    QThread* m_thread = nullptr;
};

} // namespace lumivert
