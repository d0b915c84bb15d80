#pragma once

#include "platform/ScreenColors.h"

#include <QByteArray>
#include <QString>

#include <map>
#include <memory>
#include <string>

namespace lumivert {

/// The ICC profiles that the desktop gives its screens, and the ways into them. Main thread.
class DesktopScreenColors : public ScreenColors {
public:
    std::shared_ptr<const ScreenConversion> conversionFor(const std::string& screen) override;

    /// The profile of the screen of that name, as it is; empty where there is none, or none yet.
    [[nodiscard]] virtual QByteArray profileOf(const QString& screen) = 0;

protected:
    /// Another profile may stand behind any name.
    void profilesChanged();

private:
    struct Known {
        bool isCurrent = false;
        QByteArray profile;
        std::shared_ptr<const ScreenConversion> conversion;
    };
    std::map<std::string, Known> m_known;
};

/// Those of the desktop that the application runs on: X11's, else colord's on Wayland; null on any
/// other.
[[nodiscard]] std::unique_ptr<DesktopScreenColors> desktopScreenColors();

/// The properties _ICC_PROFILE, _ICC_PROFILE_1 … of the X11 root window, one for each monitor in
/// its order ("ICC Profiles in X", 0.4). Null on another window system.
[[nodiscard]] std::unique_ptr<DesktopScreenColors> x11ScreenColors();

/// The default profiles of colord's display devices, looked up without blocking. `address` as in
/// DBUS_SYSTEM_BUS_ADDRESS; empty for the system's bus.
[[nodiscard]] std::unique_ptr<DesktopScreenColors> colordScreenColors(const QString& address);

} // namespace lumivert
