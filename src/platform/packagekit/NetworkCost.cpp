#include "platform/packagekit/NetworkCost.h"

#include "platform/packagekit/PackageKitNames.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

#include <optional>

namespace lumivert {

namespace {

constexpr int timeoutMs = 25'000;

void readNumber(QDBusConnection& bus, QObject* context, const QString& service, const QString& path,
                const QString& property, bool startService,
                std::function<void(std::optional<uint>)> onRead) {
    QDBusMessage message = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message << service << property;
    message.setAutoStartService(startService);
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(message, timeoutMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [onRead = std::move(onRead)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         const QVariant value =
                             finished->reply().arguments().value(0).value<QDBusVariant>().variant();
                         onRead(value.typeId() == QMetaType::UInt ? std::optional(value.toUInt())
                                                                  : std::nullopt);
                     });
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
    if (value == packagekit::networks::offline)
        return NetworkCost::offline;
    if (value == packagekit::networks::mobile)
        return NetworkCost::metered;
    if (value == packagekit::networks::wired)
        return NetworkCost::free;
    return NetworkCost::unknown; // a wireless network may be a telephone's
}

} // namespace

void findNetworkCost(QDBusConnection bus, QObject* context,
                     std::function<void(NetworkCost)> onKnown) {
    readNumber(bus, context, QStringLiteral("org.freedesktop.NetworkManager"),
               QStringLiteral("/org/freedesktop/NetworkManager"), QStringLiteral("Metered"), false,
               [bus, context, onKnown = std::move(onKnown)](std::optional<uint> metered) mutable {
                   const NetworkCost cost = costFromMetered(metered);
                   if (cost != NetworkCost::unknown) {
                       onKnown(cost);
                       return;
                   }
                   readNumber(bus, context, packagekit::serviceName(), packagekit::servicePath(),
                              QStringLiteral("NetworkState"), true,
                              [onKnown = std::move(onKnown)](std::optional<uint> state) {
                                  onKnown(costFromNetworkState(state));
                              });
               });
}

} // namespace lumivert
