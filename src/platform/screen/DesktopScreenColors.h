#pragma once

#include "platform/ScreenColors.h"
#include "platform/screen/ScreenProfiles.h"

#include <QByteArray>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>

namespace lumivert {

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

} // namespace lumivert
