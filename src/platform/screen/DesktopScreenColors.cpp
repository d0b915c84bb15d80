#include "platform/screen/DesktopScreenColors.h"

#include <QGuiApplication>

#include <utility>

namespace lumivert {

DesktopScreenColors::DesktopScreenColors(std::unique_ptr<ScreenProfiles> profiles,
                                         ConversionInto conversionInto)
    : m_profiles(std::move(profiles))
    , m_conversionInto(std::move(conversionInto)) {
    if (m_profiles)
        QObject::connect(m_profiles.get(), &ScreenProfiles::changed, m_profiles.get(), [this] {
            for (auto& [name, known] : m_known)
                known.isCurrent = false;
            announceChange();
        });
}

std::shared_ptr<const ScreenConversion>
DesktopScreenColors::conversionFor(const std::string& screen) {
    if (!m_profiles)
        return nullptr;
    Known& known = m_known[screen];
    if (std::exchange(known.isCurrent, true))
        return known.conversion;
    const QByteArray profile = m_profiles->profileOf(QString::fromStdString(screen));
    if (std::exchange(known.profile, profile) != profile)
        known.conversion = m_conversionInto(std::as_bytes(
            std::span(profile.constData(), static_cast<std::size_t>(profile.size()))));
    return known.conversion;
}

std::unique_ptr<ScreenProfiles> desktopProfiles() {
    if (auto x11 = x11Profiles())
        return x11;
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland")) ? colordProfiles({})
                                                                                : nullptr;
}

} // namespace lumivert
