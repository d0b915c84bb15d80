#pragma once

#include "platform/Observable.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace lumivert {

/// The way from sRGB to the colours of one screen: converts pixels in place, words 0xffRRGGBB as in
/// a ScreenRendition. Any thread.
using ScreenConversion = std::function<void(std::span<std::uint32_t> pixels)>;

/// What the desktop says of the colours of its screens. Announces a change of what it says. Main
/// thread.
class ScreenColors : public ObservableObject {
public:
    virtual ~ScreenColors() = default;

    /// The way to the colours of the screen of that name; the same object for as long as they stay.
    /// Null for a screen that takes sRGB: one without a profile, or with one that cannot be used.
    [[nodiscard]] virtual std::shared_ptr<const ScreenConversion>
    conversionFor(const std::string& screen) = 0;
};

} // namespace lumivert
