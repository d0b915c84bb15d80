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
    return held(std::round((value - minimum) / step));
}

int StepScale::positionAbove(double value) const {
    return held(std::floor((value - minimum) / step + roundingSlack) + 1);
}

int StepScale::positionBelow(double value) const {
    return held(std::ceil((value - minimum) / step - roundingSlack) - 1);
}

int StepScale::held(double position) const {
    if (!(position > 0)) // also one that is no number
        return 0;
    return static_cast<int>(std::min(position, static_cast<double>(lastPosition())));
}

} // namespace lumivert
