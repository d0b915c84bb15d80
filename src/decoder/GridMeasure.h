#pragma once

#include "decoder/GridPoints.h"

#include <array>

namespace lumivert::decoder {

/// The light of every fine plane of each channel, of 65535, where Little CMS knows it in whole
/// numbers; of other channels zeros.
using LightOfPlanes = std::array<std::array<int, fineSteps + 1>, 3>;

/// Tells where a grid may be interpolated: nowhere by more than half a step of 255 off, as far as
/// measuring shows (docs/colour.md says how far that is). Any number of threads at once.
class GridMeasure {
public:
    GridMeasure(const GridPoints& points, const LightOfPlanes& light)
        : m_points(points)
        , m_light(light) {}

    /// The rough tetrahedra of a cell; the corners of all others stand from then on.
    [[nodiscard]] Tetrahedra roughInCoarse(std::uint32_t cell) const;
    [[nodiscard]] Tetrahedra roughInFine(std::uint32_t cell) const;

private:
    // How values at four planes in a row go on.
    enum Course { straight, bent, zigzag };

    template <std::uint32_t steps>
    class Cell;

    [[nodiscard]] Course courseOf(const std::array<std::uint64_t, 4>& values) const;

    const GridPoints& m_points;
    LightOfPlanes m_light;
};

} // namespace lumivert::decoder
