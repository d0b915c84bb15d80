#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include <memory>

namespace lumivert {

/// The ICC profiles that the desktop gives its screens. Main thread.
class ScreenProfiles : public QObject {
    Q_OBJECT
public:
    /// The profile of the screen of that name, as it is; empty where there is none, or none yet.
    [[nodiscard]] virtual QByteArray profileOf(const QString& screen) = 0;

signals:
    /// Another profile may stand behind any name.
    void changed();
};

/// The properties _ICC_PROFILE, _ICC_PROFILE_1 … of the X11 root window, one for each monitor in
/// its order ("ICC Profiles in X", 0.4). Null on another window system.
[[nodiscard]] std::unique_ptr<ScreenProfiles> x11Profiles();

/// The default profiles of colord's display devices, looked up without blocking. `address` as in
/// DBUS_SYSTEM_BUS_ADDRESS; empty for the system's bus.
[[nodiscard]] std::unique_ptr<ScreenProfiles> colordProfiles(const QString& address);

} // namespace lumivert
