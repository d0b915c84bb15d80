#include "views/controls/StepScale.h"

#include <algorithm>
#include <cmath>

namespace lumivert {

namespace {

// A paper's dimension comes from points; its last step is not lost to the last bit of a double.
constexpr double roundingSlack = 1e-9;
constexpr double mostPositions = 1e6;

} // namespace

int StepScale::lastPosition() const {
    const double count = std::floor((maximum - minimum) / step + roundingSlack);
    return static_cast<int>(std::clamp(count, 0.0, mostPositions));
}

int StepScale::nearestPosition(double value) const {
    const double position = std::round((value - minimum) / step);
    if (!(position > 0)) // also a value that is no number
        return 0;
    return static_cast<int>(std::min(position, static_cast<double>(lastPosition())));
}

} // namespace lumivert
