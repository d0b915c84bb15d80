#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

/// The cells of the grids of colours and the six tetrahedra of each (Sakamoto's): from its low
/// corner to its high one, along the axes in the order of a place's distances.
namespace lumivert::decoder {

/// Steps from the first plane to the last. Every coarse plane is a fine one.
constexpr std::uint32_t fineSteps = 255;
constexpr std::uint32_t coarseSteps = 51;

/// How far the planes are from each other, of 65535.
template <std::uint32_t steps>
constexpr int sideOf = 65535 / steps;

/// Red, green and blue of 65535.
using Pixel = std::array<std::uint16_t, 3>;

/// A place as seen from a cell's low corner, of 65535.
using Offset = std::array<int, 3>;

/// What a point's number, and that of the cell that begins at it, grows by along each axis.
template <std::uint32_t steps>
constexpr std::array<std::uint32_t, 3> strides{(steps + 1) * (steps + 1), steps + 1, 1};

template <std::uint32_t steps>
constexpr Pixel placeOfPoint(std::uint32_t point) {
    Pixel result{};
    for (std::size_t c = 0; c < 3; ++c)
        result[c] =
            static_cast<std::uint16_t>(point / strides<steps>[c] % (steps + 1) * sideOf<steps>);
    return result;
}

/// None beyond the first plane or the last.
constexpr std::optional<Pixel> placeFrom(const Pixel& corner, const Offset& offset) {
    Pixel result{};
    for (std::size_t c = 0; c < 3; ++c) {
        const int place = corner[c] + offset[c];
        if (place < 0 || place > 65535)
            return {};
        result[c] = static_cast<std::uint16_t>(place);
    }
    return result;
}

/// Which tetrahedron: by which of red and green, green and blue, red and blue is the smaller, as
/// bits. No three distances have the orders 3 and 4.
constexpr std::size_t orderOf(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return std::size_t{red < green} | std::size_t{green < blue} << 1 | std::size_t{red < blue} << 2;
}

/// A bit for each order.
using Tetrahedra = std::uint8_t;

/// Those that a place of the cell lies in, or between.
constexpr Tetrahedra tetrahedraAt(const Offset& place) {
    constexpr unsigned every = 0b11100111;
    const auto ordered = [](int one, int other, unsigned less) {
        return one < other ? less : one > other ? ~less : ~0u;
    };
    const auto [red, green, blue] = place;
    return static_cast<Tetrahedra>(every & ordered(red, green, 0xaa) & ordered(green, blue, 0xcc) &
                                   ordered(red, blue, 0xf0));
}

/// Of a cell's tetrahedra, in cells: where it begins and where it leads.
struct Edge {
    Offset from;
    Offset along;

    [[nodiscard]] constexpr Offset at(int side, int distance) const {
        Offset result{};
        for (std::size_t c = 0; c < 3; ++c)
            result[c] = from[c] * side + along[c] * distance;
        return result;
    }

    /// The only axis that it leads along; none for a diagonal.
    [[nodiscard]] constexpr std::optional<std::size_t> axis() const {
        if (along[0] + along[1] + along[2] > 1)
            return {};
        return static_cast<std::size_t>(along[1] + 2 * along[2]);
    }

    /// Whether it is the one that all six tetrahedra share.
    [[nodiscard]] constexpr bool isShared() const { return along == Offset{1, 1, 1}; }
};

constexpr auto edges = [] {
    const auto place = [](int bits) { return Offset{bits >> 2 & 1, bits >> 1 & 1, bits & 1}; };
    std::array<Edge, 19> result{};
    std::size_t count = 0;
    for (int from = 0; from < 8; ++from)
        for (int along = 1; along < 8; ++along)
            if ((from & along) == 0)
                result[count++] = {place(from), place(along)};
    return result;
}();

/// A cell's number and the place in it, of 65536.
struct Position {
    std::uint32_t cell;
    std::array<std::uint32_t, 3> fractions;

    [[nodiscard]] std::size_t order() const {
        return orderOf(fractions[0], fractions[1], fractions[2]);
    }
};

/// Of three numbers of 65535. Inlined, for every pixel comes here.
template <std::uint32_t steps>
[[gnu::always_inline]] inline Position positionOf(const std::uint16_t* pixel) {
    Position result{};
    for (std::size_t c = 0; c < 3; ++c) {
        const std::uint32_t place = pixel[c];
        const std::uint32_t position = (place + (place >> 15)) * steps; // 65536 at the last one
        result.cell += (position >> 16) * strides<steps>[c];
        result.fractions[c] = position & 0xffff;
    }
    return result;
}

} // namespace lumivert::decoder
