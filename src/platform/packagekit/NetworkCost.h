#pragma once

#include <QDBusConnection>
#include <QObject>

#include <functional>

namespace lumivert {

/// What traffic costs now.
enum class NetworkCost {
    offline,
    metered, ///< paid for by volume, or likely to be
    free,
    unknown, ///< nobody on this system can tell
};

/// Asks NetworkManager, and where there is none the package service, which knows less: it tells a
/// mobile network from a wired one. `onKnown` is called once, from the event loop, unless `context`
/// is destroyed before.
void findNetworkCost(const QDBusConnection& bus, QObject* context,
                     std::function<void(NetworkCost)> onKnown);

} // namespace lumivert
