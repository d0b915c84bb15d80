#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace lumivert {

/// What the header of an ICC profile says (ICC.1, 7.2), as the file has it: a claim, nothing more.
struct IccHeader {
    std::uint32_t size = 0; ///< of the whole profile, in bytes
    std::uint32_t profileClass = 0;
    std::uint32_t space = 0; ///< of the device's side

    /// The four letters of a signature as the number that they are.
    [[nodiscard]] static constexpr std::uint32_t signature(std::string_view letters) {
        std::uint32_t number = 0;
        for (const char letter : letters)
            number = number << 8 | static_cast<unsigned char>(letter);
        return number;
    }

    /// Whether it ties the numbers of a device, or of a colour space, to the connection space: no
    /// device link, named colours or abstract profile.
    [[nodiscard]] bool isOfColors() const {
        return profileClass == signature("scnr") || profileClass == signature("mntr") ||
               profileClass == signature("prtr") || profileClass == signature("spac");
    }
    [[nodiscard]] bool isLab() const { return space == signature("Lab "); }
    /// 1 for grey, 3 for RGB and CIELAB, 4 for CMYK: what a PDF has a space for (ISO 32000-1,
    /// 8.6.5.5). 0 for any other.
    [[nodiscard]] int channels() const {
        return space == signature("GRAY")              ? 1
               : space == signature("RGB ") || isLab() ? 3
               : space == signature("CMYK")            ? 4
                                                       : 0;
    }
};

/// Nothing for bytes that do not begin as a profile does.
[[nodiscard]] inline std::optional<IccHeader> iccHeader(std::span<const std::byte> profile) {
    if (profile.size() < 128)
        return std::nullopt;
    const std::string_view text(reinterpret_cast<const char*>(profile.data()), 128);
    if (text.substr(36, 4) != "acsp")
        return std::nullopt;
    return IccHeader{IccHeader::signature(text.substr(0, 4)),
                     IccHeader::signature(text.substr(12, 4)),
                     IccHeader::signature(text.substr(16, 4))};
}

} // namespace lumivert
