#include "platform/bus/BusConnection.h"

#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QThread>
#include <QUuid>

#include <utility>

namespace lumivert {

BusConnection::BusConnection(QString address)
    : m_address(std::move(address))
    , m_name(QUuid::createUuid().toString()) {}

BusConnection::~BusConnection() {
    // Rather a thread left to the end of the process than a program that does not end because its
    // bus hangs.
    if (m_thread && !m_thread->wait(1000))
        return;
    delete m_thread;
    QDBusConnection::disconnectFromBus(m_name);
}

void BusConnection::open(OnOpen onOpen) {
    m_onOpen = std::move(onOpen);
    if (m_thread)
        return; // its end answers
    // One that stands is handed out again, a broken one made anew.
    if (!QDBusConnection(m_name).isConnected())
        QDBusConnection::disconnectFromBus(m_name);
    m_thread = QThread::create([address = m_address, name = m_name] {
        if (address.isEmpty())
            QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
        else
            QDBusConnection::connectToBus(address, name);
    });
    connect(m_thread, &QThread::finished, this, [this] {
        m_thread->wait();
        delete std::exchange(m_thread, nullptr);
        const QDBusConnection bus(m_name);
        std::exchange(m_onOpen, nullptr)(bus.isConnected() ? std::optional(bus) : std::nullopt);
    });
    m_thread->start();
}

void callBus(const QDBusConnection& bus, const QDBusMessage& call, int timeoutMs, QObject* context,
             std::function<void(const QDBusMessage& reply)> onReply) {
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, timeoutMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [onReply = std::move(onReply)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         onReply(finished->reply());
                     });
}

QDBusMessage propertyCall(const QString& service, const QString& path, const QString& interface,
                          const QString& property) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << interface << property;
    return call;
}

QVariant propertyIn(const QDBusMessage& reply) {
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

} // namespace lumivert
