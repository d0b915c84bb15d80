#include "platform/packagekit/NetworkCost.h"

#include "platform/bus/BusConnection.h"
#include "platform/packagekit/PackageKitTransaction.h"

#include <utility>

namespace lumivert {

namespace {

constexpr int timeoutMs = 25'000;

/// 0, which neither service has a meaning for, where there is no such number.
uint numberIn(const QDBusMessage& reply) {
    const QVariant value = propertyIn(reply);
    return value.typeId() == QMetaType::UInt ? value.toUInt() : 0;
}

// NetworkManager's NMMetered.
NetworkCost costFromMetered(uint value) {
    switch (value) {
    case 1: // yes
    case 3: // a guess
        return NetworkCost::metered;
    case 2: // no
    case 4: // a guess
        return NetworkCost::free;
    default:
        return NetworkCost::unknown;
    }
}

// PackageKit's PkNetworkEnum.
NetworkCost costFromNetworkState(uint value) {
    switch (value) {
    case 1: // offline
        return NetworkCost::offline;
    case 5: // mobile
        return NetworkCost::metered;
    case 3: // wired
        return NetworkCost::free;
    default: // a wireless network may be a telephone's
        return NetworkCost::unknown;
    }
}

} // namespace

void findNetworkCost(const QDBusConnection& bus, QObject* context,
                     std::function<void(NetworkCost)> onKnown) {
    const QString manager = QStringLiteral("org.freedesktop.NetworkManager");
    QDBusMessage metered = propertyCall(manager, QStringLiteral("/org/freedesktop/NetworkManager"),
                                        manager, QStringLiteral("Metered"));
    metered.setAutoStartService(false);
    callBus(bus, metered, timeoutMs, context,
            [bus, context, onKnown = std::move(onKnown)](const QDBusMessage& reply) {
                const NetworkCost cost = costFromMetered(numberIn(reply));
                if (cost != NetworkCost::unknown) {
                    onKnown(cost);
                    return;
                }
                callBus(bus,
                        propertyCall(packageKitService, packageKitPath, packageKitService,
                                     QStringLiteral("NetworkState")),
                        timeoutMs, context, [onKnown](const QDBusMessage& state) {
                            onKnown(costFromNetworkState(numberIn(state)));
                        });
            });
}

} // namespace lumivert
