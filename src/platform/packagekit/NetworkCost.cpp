#include "platform/packagekit/NetworkCost.h"

#include "platform/bus/BusConnection.h"
#include "platform/packagekit/PackageKitNames.h"

#include <QDBusMessage>
#include <QDBusVariant>

#include <optional>

namespace lumivert {

namespace {

constexpr int timeoutMs = 25'000;

QDBusMessage readProperty(const QString& service, const QString& path, const QString& property) {
    QDBusMessage message = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message << service << property;
    return message;
}

std::optional<uint> numberIn(const QDBusMessage& reply) {
    const QVariant value = reply.arguments().value(0).value<QDBusVariant>().variant();
    return value.typeId() == QMetaType::UInt ? std::optional(value.toUInt()) : std::nullopt;
}

// The values of NetworkManager's NMMetered: yes, no, and the two guesses.
NetworkCost costFromMetered(std::optional<uint> value) {
    if (value == 1U || value == 3U)
        return NetworkCost::metered;
    if (value == 2U || value == 4U)
        return NetworkCost::free;
    return NetworkCost::unknown;
}

NetworkCost costFromNetworkState(std::optional<uint> value) {
    if (value == packagekit::networkOffline)
        return NetworkCost::offline;
    if (value == packagekit::networkMobile)
        return NetworkCost::metered;
    if (value == packagekit::networkWired)
        return NetworkCost::free;
    return NetworkCost::unknown; // a wireless network may be a telephone's
}

} // namespace

void findNetworkCost(const QDBusConnection& bus, QObject* context,
                     std::function<void(NetworkCost)> onKnown) {
    QDBusMessage metered =
        readProperty(QStringLiteral("org.freedesktop.NetworkManager"),
                     QStringLiteral("/org/freedesktop/NetworkManager"), QStringLiteral("Metered"));
    metered.setAutoStartService(false);
    callBus(bus, metered, timeoutMs, context,
            [bus, context, onKnown = std::move(onKnown)](const QDBusMessage& reply) {
                const NetworkCost cost = costFromMetered(numberIn(reply));
                if (cost != NetworkCost::unknown) {
                    onKnown(cost);
                    return;
                }
                callBus(bus,
                        readProperty(packagekit::serviceName(), packagekit::servicePath(),
                                     QStringLiteral("NetworkState")),
                        timeoutMs, context, [onKnown](const QDBusMessage& state) {
                            onKnown(costFromNetworkState(numberIn(state)));
                        });
            });
}

} // namespace lumivert
