#pragma once

#include "platform/ScreenColors.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>

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

/// The desktop's profiles as conversions.
class DesktopScreenColors : public ScreenColors {
public:
    /// The way into a profile; null where there is none.
    using ConversionInto =
        std::function<std::shared_ptr<const ScreenConversion>(std::span<const std::byte>)>;

    /// `profiles` may be null: then every screen takes sRGB.
    DesktopScreenColors(std::unique_ptr<ScreenProfiles> profiles, ConversionInto conversionInto);

    std::shared_ptr<const ScreenConversion> conversionFor(const std::string& screen) override;

private:
    struct Known {
        bool isCurrent = false;
        QByteArray profile;
        std::shared_ptr<const ScreenConversion> conversion;
    };

    std::unique_ptr<ScreenProfiles> m_profiles;
    ConversionInto m_conversionInto;
    std::map<std::string, Known> m_known;
};

/// The profiles of the desktop that the application runs on, the property of the root window on
/// X11, else colord's on Wayland; null on any other.
[[nodiscard]] std::unique_ptr<ScreenProfiles> desktopProfiles();

/// The properties _ICC_PROFILE, _ICC_PROFILE_1 … of the X11 root window, one for each monitor in
/// its order ("ICC Profiles in X", 0.4). Null on another window system.
[[nodiscard]] std::unique_ptr<ScreenProfiles> x11Profiles();

/// The default profiles of colord's display devices, looked up without blocking. `address` as in
/// DBUS_SYSTEM_BUS_ADDRESS; empty for the system's bus.
[[nodiscard]] std::unique_ptr<ScreenProfiles> colordProfiles(const QString& address);

} // namespace lumivert
