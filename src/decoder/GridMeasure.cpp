#include "decoder/GridMeasure.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace lumivert::decoder {
namespace {

// Of 65535. Half a step of 255 is for interpolation, the other half for the rounding to 8 bits. Of
// a kink's largest error, four fifths at least show at the planes between a coarse cell's ends, or
// at the eighths of a fine one's edge. Errors up to the slight ones are no sign of a kink.
struct Limits {
    int slight;
    int most;
};
template <std::uint32_t steps>
constexpr Limits limits{257 * 18 / 100, 257 * 38 / 100};
template <>
constexpr Limits limits<coarseSteps>{257 * 24 / 100, 257 * 30 / 100};
// Second differences. A kink's largest error is at most half of the larger of its two; where a
// table jumps to and fro, two of opposite signs hide what is between them.
constexpr int mostBend = 200;
constexpr int mostZigzag = 80;
// What a result may go up by at once.
constexpr int mostStep = 257 * 15 / 100;

int channelOf(std::uint64_t value, std::size_t channel) {
    return GridPoints::channelOf(value, channel);
}

} // namespace

// One that is being measured. Its corners stand.
template <std::uint32_t steps>
class GridMeasure::Cell {
public:
    Cell(const GridMeasure& grid, std::uint32_t number)
        : m_points(grid.m_points)
        , m_light(grid.m_light)
        , m_number(number)
        , m_corner(placeOfPoint<steps>(number)) {
        for (int red = 0; red < 2; ++red)
            for (int green = 0; green < 2; ++green)
                for (int blue = 0; blue < 2; ++blue)
                    (void)valueAt({red, green, blue});
    }

    static constexpr int side = sideOf<steps>;

    [[nodiscard]] Tetrahedra rough() const { return m_rough; }

    // That of a point so many planes off; none beyond the first plane or the last.
    [[nodiscard]] std::optional<std::uint64_t> valueAt(const Offset& planes) const {
        int point = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            const int place = m_corner[c] + planes[c] * side;
            if (place < 0 || place > 65535)
                return {};
            point += planes[c] * static_cast<int>(strides<steps>[c]);
        }
        return m_points.valueAt<steps>(m_number + static_cast<std::uint32_t>(point));
    }

    // What lies on the outermost planes has no diagonal through it.
    [[nodiscard]] bool isFlat() const { return std::ranges::count(m_corner, 65535) > 0; }

    // Whether nothing new can be learnt at a place.
    [[nodiscard]] bool isKnown(const Offset& offset) const {
        return (tetrahedraAt(offset) & ~m_rough) == 0;
    }
    void addRough(const Offset& offset) { m_rough |= tetrahedraAt(offset); }

    // What interpolation is off by; 0 where nothing new can be learnt or there is no place.
    int look(const Offset& offset) {
        const std::optional<Pixel> at = placeFrom(m_corner, offset);
        if (!at || isKnown(offset))
            return 0;
        const int error = m_points.distanceOf(
            m_points.between<steps>(positionOf<steps>(at->data())), m_points.valueOf(*at));
        if (error > limits<steps>.most)
            addRough(offset);
        if (error > limits<steps>.slight)
            m_suspects |= tetrahedraAt(offset);
        return error;
    }

    // At these distances along every axis, in the tetrahedra that were slightly off so far.
    template <std::size_t count>
    void lookInside(const std::array<int, count>& distances) {
        if (m_suspects == 0)
            return;
        for (const Tetrahedra suspects = m_suspects; const int red : distances)
            for (const int green : distances)
                for (const int blue : distances)
                    if ((tetrahedraAt({red, green, blue}) & suspects) != 0)
                        look({red, green, blue});
    }

    // Whether one step of a channel's light is a step of the result that shows.
    [[nodiscard]] bool isStepped(const Edge& edge, std::uint64_t first, std::uint64_t last) const {
        const auto axis = edge.axis();
        if (!axis)
            return false;
        const auto* const lights = &m_light[*axis][m_corner[*axis] / 257u];
        const int light = std::abs(lights[side / sideOf<fineSteps>] - lights[0]);
        return light > 0 && m_points.distanceOf(first, last) > light * mostStep;
    }

private:
    const GridPoints& m_points;
    const LightOfPlanes& m_light;
    std::uint32_t m_number;
    Pixel m_corner;
    Tetrahedra m_rough = 0;
    Tetrahedra m_suspects = 0;
};

GridMeasure::Course GridMeasure::courseOf(const std::array<std::uint64_t, 4>& values) const {
    Course result = straight;
    for (std::size_t c = 0; c < m_points.channels(); ++c) {
        const auto bend = [&](std::size_t i) {
            return channelOf(values[i - 1], c) - 2 * channelOf(values[i], c) +
                   channelOf(values[i + 1], c);
        };
        const int first = bend(1);
        const int second = bend(2);
        if ((first < 0) != (second < 0) && std::min(std::abs(first), std::abs(second)) > mostZigzag)
            return zigzag;
        if (std::max(std::abs(first), std::abs(second)) > mostBend)
            result = bent;
    }
    return result;
}

// Kinks of a table may meet anywhere; between two planes there are those of the photo's own curves,
// all of which the diagonal crosses.
Tetrahedra GridMeasure::roughInCoarse(std::uint32_t number) const {
    constexpr int plane = sideOf<fineSteps>;
    constexpr int side = sideOf<coarseSteps>;
    Cell<coarseSteps> cell(*this, number);
    for (int along = 103; along < side; along += 103)
        cell.look({along, along, along});
    for (const Edge& edge : edges) {
        const auto first = cell.valueAt(edge.at(1, 0));
        const auto last = cell.valueAt(edge.at(1, 1));
        if (first && last && cell.isStepped(edge, *first, *last))
            cell.addRough(edge.at(side, plane));
        for (int along = plane; along < side; along += plane)
            cell.look(edge.at(side, along));
    }
    cell.lookInside(std::array{0, plane, 2 * plane, 3 * plane, 4 * plane, side});
    return cell.rough();
}

Tetrahedra GridMeasure::roughInFine(std::uint32_t number) const {
    constexpr int side = sideOf<fineSteps>;
    Cell<fineSteps> cell(*this, number);
    for (const Edge& edge : edges) {
        const Offset halfway = edge.at(side, 128);
        if (cell.isKnown(halfway))
            continue;
        const auto before = cell.valueAt(edge.at(1, -1));
        const auto first = cell.valueAt(edge.at(1, 0));
        const auto last = cell.valueAt(edge.at(1, 1));
        const auto after = cell.valueAt(edge.at(1, 2));
        if (!first || !last)
            continue;
        const Course course =
            before && after && !cell.isFlat() ? courseOf({*before, *first, *last, *after}) : bent;
        bool isRough = course == zigzag || cell.isStepped(edge, *first, *last);
        // Where light begins, a device's curve may be as steep as it likes; that of inks is not.
        for (std::size_t c = 0; c < m_points.channels() && m_points.channels() < 4; ++c)
            isRough |= (channelOf(*first, c) <= 1) != (channelOf(*last, c) <= 1);
        if (isRough) {
            cell.addRough(halfway);
            continue;
        }
        // What bends as often as there are planes looks straight from plane to plane: the one edge
        // that all six tetrahedra share is always measured.
        if (course == straight && !edge.isShared())
            continue;
        if (cell.look(halfway) > limits<fineSteps>.slight)
            for (const int along : {32, 64, 96, 161, 193, 225})
                cell.look(edge.at(side, along));
    }
    cell.lookInside(std::array{64, 128, 193});
    return cell.rough();
}

} // namespace lumivert::decoder
