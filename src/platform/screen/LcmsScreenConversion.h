#pragma once

#include "platform/Bytes.h"
#include "platform/ScreenColors.h"

#include <cstddef>
#include <memory>
#include <span>

namespace lumivert {

/// The way from sRGB into a screen's ICC profile, relative colorimetric with black point
/// compensation: white stays the screen's white. Null for bytes that are no profile of an RGB
/// screen with the way back from the connection space. Any thread.
[[nodiscard]] std::shared_ptr<const ScreenConversion>
lcmsScreenConversion(std::span<const std::byte> profile);

} // namespace lumivert
