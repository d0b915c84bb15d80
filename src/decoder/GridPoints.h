#pragma once

#include "decoder/ColorTransform.h"
#include "decoder/GridCells.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace lumivert::decoder {

/// The bits of a number, each with two zeros above it: those of three coordinates, interleaved, are
/// the place of a point beside its neighbours in every direction (Morton).
inline constexpr auto spread = [] {
    std::array<std::uint32_t, 256> result{};
    for (std::uint32_t i = 0; i < result.size(); ++i)
        for (int bit = 0; bit < 8; ++bit)
            result[i] |= (i >> bit & 1) << (3 * bit);
    return result;
}();

/// To the next number's; none from the last.
inline constexpr auto spreadStep = [] {
    std::array<std::uint32_t, 256> result{};
    for (std::size_t i = 0; i < 255; ++i)
        result[i] = spread[i + 1] - spread[i];
    return result;
}();

/// Of a point of the grid whose planes are numbered from 0 to 255.
inline std::uint32_t placeOf(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return spread[red] << 2 | spread[green] << 1 | spread[blue];
}

/// Zeros for 256 x 256 x 256 points. The system does not write so many before they are used. Throws
/// std::bad_alloc.
template <typename Point>
std::shared_ptr<Point[]> untouched() {
    auto* points = static_cast<Point*>(std::calloc(std::size_t{1} << 24, sizeof(Point)));
    if (!points)
        throw std::bad_alloc();
    return {points, &std::free};
}

/// What a conversion makes of the points of both grids, evaluated as they are asked for, and what
/// is between them. Values are up to four channels of 16 bits in one number, the first one lowest.
/// Any number of threads at once.
class GridPoints {
public:
    /// Of 128 MiB only what is in use is ever touched. Throws std::bad_alloc.
    GridPoints(Convert exact, int outChannels)
        : m_exact(std::move(exact))
        , m_channels(static_cast<std::size_t>(outChannels))
        , m_fine(untouched<Node>())
        , m_coarse(coarsePoints) {}

    [[nodiscard]] std::size_t channels() const { return m_channels; }

    [[nodiscard]] static int channelOf(std::uint64_t value, std::size_t channel) {
        return static_cast<int>(value >> (16 * channel) & 0xffff);
    }

    /// In the channel where it is largest.
    [[nodiscard]] int distanceOf(std::uint64_t one, std::uint64_t other) const {
        int result = 0;
        for (std::size_t c = 0; c < m_channels; ++c)
            result = std::max(result, std::abs(channelOf(one, c) - channelOf(other, c)));
        return result;
    }

    [[gnu::noinline]] [[nodiscard]] std::uint64_t exactly(const std::uint16_t* pixel) const {
        std::array<std::uint16_t, 4> channels{};
        m_exact(pixel, channels.data(), 1);
        std::uint64_t value = std::max<std::uint64_t>(channels[0], 1);
        for (std::size_t c = 1; c < channels.size(); ++c)
            value |= std::uint64_t{channels[c]} << (16 * c);
        return value;
    }

    /// That of a point, which stands from then on.
    template <std::uint32_t steps>
    std::uint64_t valueAt(std::uint32_t point) const {
        Node& node = nodeAt<steps>(point);
        std::uint64_t value = node.load(std::memory_order_relaxed);
        if (value == 0)
            node.store(value = exactly(placeOfPoint<steps>(point).data()),
                       std::memory_order_relaxed);
        return value;
    }

    /// As `exactly`. On a point of the fine grid it serves again.
    [[nodiscard]] std::uint64_t valueOf(const Pixel& pixel) const {
        std::uint32_t point = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            if (pixel[c] % 257 != 0)
                return exactly(pixel.data());
            point += pixel[c] / 257u * strides<fineSteps>[c];
        }
        return valueAt<fineSteps>(point);
    }

    /// Interpolated between the corners of a tetrahedron, all of which that have weight must stand.
    /// Without a branch, for which fraction is the larger cannot be predicted, and inlined, for
    /// every pixel comes here.
    template <std::uint32_t steps>
    [[gnu::always_inline]] [[nodiscard]] std::uint64_t between(const Position& position) const {
        // The axes of the largest fraction and of the least, by the order.
        static constexpr std::array<std::uint8_t, 8> firsts{0, 1, 0, 0, 0, 1, 2, 2};
        static constexpr std::array<std::uint8_t, 8> lasts{2, 2, 1, 0, 0, 0, 1, 0};
        const std::size_t order = position.order();
        const std::size_t first = firsts[order];
        const std::size_t last = lasts[order];
        const auto corners = cornersOf<steps>(position, first, last);
        const auto [red, green, blue] = position.fractions;
        const std::uint32_t largest = position.fractions[first];
        const std::uint32_t least = position.fractions[last];
        const std::uint32_t middle = red + green + blue - largest - least;
        const Node* const nodes = steps == coarseSteps ? m_coarse.data() : m_fine.get();
        constexpr std::uint64_t lanes = 0x0000ffff0000ffff;
        // Two sums of 32 bits side by side in each: the weights add up to 65536, so that neither
        // runs over into the other.
        std::uint64_t even = 0;
        std::uint64_t odd = 0;
        const auto add = [&](std::size_t corner, std::uint32_t weight) {
            const std::uint64_t value = nodes[corner].load(std::memory_order_relaxed);
            even += (value & lanes) * weight;
            odd += (value >> 16 & lanes) * weight;
        };
        add(corners[0], 65536 - largest);
        add(corners[1], largest - middle);
        add(corners[2], middle - least);
        add(corners[3], least);
        return (even >> 16 & lanes) | (odd & ~lanes);
    }

private:
    // 0 for a point that nobody has asked for yet, which is why a first channel of 0 is kept as 1.
    using Node = std::atomic<std::uint64_t>;

    // A corner without weight may lie beyond the last plane.
    static constexpr std::size_t coarsePoints =
        std::size_t{coarseSteps + 2} * (coarseSteps + 2) * (coarseSteps + 2);

    template <std::uint32_t steps>
    Node& nodeAt(std::uint32_t point) const {
        if constexpr (steps == coarseSteps)
            return m_coarse[point];
        else
            return m_fine[placeOf(point >> 16 & 255, point >> 8 & 255, point & 255)];
    }

    // Where the corners of a tetrahedron are among the nodes: the low one, one step along the axis
    // of the largest fraction, all steps but that of the least, the high one. One that has no
    // weight may be another.
    template <std::uint32_t steps>
    [[gnu::always_inline]] static std::array<std::size_t, 4>
    cornersOf(const Position& position, std::size_t first, std::size_t last) {
        if constexpr (steps == coarseSteps) {
            constexpr auto axis = strides<steps>;
            constexpr std::size_t high = axis[0] + axis[1] + axis[2];
            const std::size_t low = position.cell;
            return {low, low + axis[first], low + high - axis[last], low + high};
        } else {
            std::array<std::uint32_t, 3> step;
            std::size_t low = 0;
            for (std::size_t c = 0; c < 3; ++c) {
                const std::uint32_t plane = position.cell >> (16 - 8 * c) & 255;
                low += spread[plane] << (2 - c);
                step[c] = spreadStep[plane] << (2 - c);
            }
            const std::size_t high = low + step[0] + step[1] + step[2];
            return {low, low + step[first], high - step[last], high};
        }
    }

    Convert m_exact;
    std::size_t m_channels;
    // Of every plane.
    std::shared_ptr<Node[]> m_fine;
    // Those of every fifth one, close together.
    mutable std::vector<Node> m_coarse;
};

} // namespace lumivert::decoder
