#include "model/Utf8.h"

#include <cstddef>
#include <cstdint>

namespace lumivert {

bool isUtf8(std::string_view text) {
    std::size_t i = 0;
    const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    while (i < text.size()) {
        const std::uint8_t lead = byte(i);
        const std::size_t length = lead < 0x80                    ? 1
                                   : lead >= 0xc2 && lead <= 0xdf ? 2
                                   : lead >= 0xe0 && lead <= 0xef ? 3
                                   : lead >= 0xf0 && lead <= 0xf4 ? 4
                                                                  : 0;
        if (length == 0 || text.size() - i < length)
            return false;
        for (std::size_t k = 1; k < length; ++k)
            if ((byte(i + k) & 0xc0) != 0x80)
                return false;
        // The second byte's narrower ranges rule out overlong forms, surrogates and what lies
        // beyond U+10FFFF.
        if ((lead == 0xe0 && byte(i + 1) < 0xa0) || (lead == 0xed && byte(i + 1) > 0x9f) ||
            (lead == 0xf0 && byte(i + 1) < 0x90) || (lead == 0xf4 && byte(i + 1) > 0x8f))
            return false;
        i += length;
    }
    return true;
}

} // namespace lumivert
