#pragma once

namespace lumivert {

/// The values that a slider offers: minimum, minimum + step, … up to the last one that is not above
/// maximum. Positions count them from 0. Lengths in millimetres.
struct StepScale {
    double minimum = 0;
    double maximum = 0;
    double step = 0.5;

    [[nodiscard]] int lastPosition() const;
    /// The offered value nearest to `value`; the ends for a value beyond them.
    [[nodiscard]] int nearestPosition(double value) const;
    /// The next offered value above or below `value`; the last one where there is no other.
    [[nodiscard]] int positionAbove(double value) const;
    [[nodiscard]] int positionBelow(double value) const;
    [[nodiscard]] double valueAt(int position) const { return minimum + position * step; }

    bool operator==(const StepScale&) const = default;

private:
    [[nodiscard]] int held(double position) const;
};

} // namespace lumivert
