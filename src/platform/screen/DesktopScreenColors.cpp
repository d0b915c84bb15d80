#include "platform/screen/DesktopScreenColors.h"

#include "platform/screen/LcmsScreenConversion.h"

#include <QGuiApplication>

#include <utility>

namespace lumivert {

void DesktopScreenColors::profilesChanged() {
    for (auto& [name, known] : m_known)
        known.isCurrent = false;
    announceChange();
}

std::shared_ptr<const ScreenConversion>
DesktopScreenColors::conversionFor(const std::string& screen) {
    Known& known = m_known[screen];
    if (std::exchange(known.isCurrent, true))
        return known.conversion;
    const QByteArray profile = profileOf(QString::fromStdString(screen));
    if (std::exchange(known.profile, profile) != profile)
        known.conversion = lcmsScreenConversion(std::as_bytes(
            std::span(profile.constData(), static_cast<std::size_t>(profile.size()))));
    return known.conversion;
}

std::unique_ptr<DesktopScreenColors> desktopScreenColors() {
    if (auto x11 = x11ScreenColors())
        return x11;
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"))
               ? colordScreenColors({})
               : nullptr;
}

} // namespace lumivert
