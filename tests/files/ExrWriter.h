#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace lumivert::test {

/// An OpenEXR file, written by OpenEXR itself.
struct ExrWriter {
    struct Window {
        int left = 0;
        int top = 0;
        int right = 0;
        int bottom = 0;
    };
    Window display;
    /// As the display window where there is none.
    std::optional<Window> data = std::nullopt;
    /// The channels' names, "R", "G", "B", "A" or "Y".
    std::vector<std::string> channels = {"R", "G", "B"};
    /// Of half floats, else of floats.
    bool areHalves = true;
    /// OpenEXR's number.
    int compression = 3;
    bool isTiled = false;
    bool isFromTheBottom = false;
    /// x and y of red, green, blue and white.
    std::vector<float> chromaticities = {};
    /// Dots per inch.
    float density = 0;
    float pixelAspectRatio = 1;

    /// With the value of a channel at a place, 0 the first of the channels.
    [[nodiscard]] std::string
    bytes(const std::function<float(int x, int y, int channel)>& value) const;
};

} // namespace lumivert::test
