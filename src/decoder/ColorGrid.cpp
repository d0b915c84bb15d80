#include "decoder/ColorGrid.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <new>
#include <optional>
#include <utility>
#include <vector>

namespace lumivert::decoder {
namespace {

constexpr std::uint32_t fineSteps = 255;
constexpr std::uint32_t coarseSteps = 51;
constexpr std::uint32_t planesOfCell = fineSteps / coarseSteps;

// What a point's number grows by along each axis.
template <std::uint32_t steps>
constexpr std::array<std::uint32_t, 3> strides{(steps + 1) * (steps + 1), steps + 1, 1};

// Of 65535. Half a step of 255 is for interpolation, the other half for the rounding to 8 bits. Of
// a kink's largest error on an edge, four fifths at least show at the planes between a coarse one's
// ends, and a half at least in the middle of a fine one.
constexpr int mostCoarseError = 257 * 37 / 100;
constexpr int mostErrorHalfway = 257 * 28 / 100;
// A second difference: a kink's largest error is at most half of the larger of its two.
constexpr int mostBend = 257;

// The bits of a number, each with two zeros above it: those of three coordinates, interleaved, are
// the place of a point beside its neighbours in every direction (Morton).
constexpr auto spread = [] {
    std::array<std::uint32_t, 256> result{};
    for (std::uint32_t i = 0; i < result.size(); ++i)
        for (int bit = 0; bit < 8; ++bit)
            result[i] |= (i >> bit & 1) << (3 * bit);
    return result;
}();

std::uint32_t placeOf(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return spread[red] << 2 | spread[green] << 1 | spread[blue];
}

// Zeros for 256 x 256 x 256 points. The system does not write so many before they are used.
template <typename Point>
std::shared_ptr<Point[]> untouched() {
    auto* points = static_cast<Point*>(std::calloc(std::size_t{1} << 24, sizeof(Point)));
    if (!points)
        throw std::bad_alloc();
    return {points, &std::free};
}

int channelOf(std::uint64_t value, std::size_t channel) {
    return static_cast<int>(value >> (16 * channel) & 0xffff);
}

using Pixel = std::array<std::uint16_t, 3>;

// Four values of 16 bits; 0 for a point that nobody has asked for yet, which is why a first channel
// of 0 is kept as 1.
using Node = std::atomic<std::uint64_t>;

// Whether pixels in a cell may be interpolated between its corners.
enum State : std::uint8_t { unmeasured, smooth, rough };

// Of a cell's tetrahedra, in cells: where it begins and where it leads. Where a kink runs through a
// tetrahedron, interpolation is furthest off on one of its edges.
struct Edge {
    std::array<int, 3> from;
    std::array<int, 3> along;
};

constexpr auto edges = [] {
    const auto place = [](int bits) { return std::array{bits >> 2 & 1, bits >> 1 & 1, bits & 1}; };
    std::array<Edge, 19> result{};
    std::size_t count = 0;
    for (int from = 0; from < 8; ++from)
        for (int along = 1; along < 8; ++along)
            if ((from & along) == 0)
                result[count++] = {place(from), place(along)};
    return result;
}();

// A tetrahedron's corners and their weights of 65536.
struct Corners {
    std::array<std::uint32_t, 4> points;
    std::array<std::uint32_t, 4> weights;
};

class ColorGrid {
public:
    ColorGrid(Convert exact, int outChannels)
        : m_exact(std::move(exact))
        , m_outChannels(static_cast<std::size_t>(outChannels))
        , m_nodes(untouched<Node>())
        , m_states(untouched<std::atomic<State>>())
        , m_coarseNodes(std::size_t{coarseSteps + 1} * strides<coarseSteps>[0])
        , m_coarseStates(m_coarseNodes.size()) {}

    void convert(const std::uint16_t* in, std::uint8_t* out, std::size_t pixels) const {
        for (std::size_t i = 0; i < 3 * pixels; i += 3) {
            std::uint64_t value = interpolated(in + i);
            for (std::size_t c = 0; c < m_outChannels; ++c, value >>= 16)
                *out++ = static_cast<std::uint8_t>(((value & 0xffff) * 255 + 32895) >> 16);
        }
    }

private:
    std::uint64_t exactly(const std::uint16_t* pixel) const {
        std::array<std::uint16_t, 4> channels{};
        m_exact(pixel, channels.data(), 1);
        std::uint64_t value = std::max<std::uint64_t>(channels[0], 1);
        for (std::size_t c = 1; c < channels.size(); ++c)
            value |= std::uint64_t{channels[c]} << (16 * c);
        return value;
    }

    // At a point of the grid whose sides have so many steps.
    template <std::uint32_t steps>
    std::uint64_t valueAt(std::uint32_t point) const {
        Node& node = steps == coarseSteps
                         ? m_coarseNodes[point]
                         : m_nodes[placeOf(point >> 16, point >> 8 & 255, point & 255)];
        std::uint64_t value = node.load(std::memory_order_relaxed);
        if (value == 0) [[unlikely]] {
            value = exactly(placeOfPoint<steps>(point).data());
            node.store(value, std::memory_order_relaxed);
        }
        return value;
    }

    template <std::uint32_t steps>
    static Pixel placeOfPoint(std::uint32_t point) {
        Pixel result;
        for (std::size_t c = 0; c < 3; ++c)
            result[c] = static_cast<std::uint16_t>(point / strides<steps>[c] % (steps + 1) *
                                                   (65535 / steps));
        return result;
    }

    // Sakamoto's tetrahedra: from the cell's low corner, whose number is the cell's, along the axes
    // in the order of their fractions. Inlined by order, for every pixel comes here: that halves
    // its time.
    template <std::uint32_t steps>
    [[gnu::always_inline]] Corners cornersOf(const std::uint16_t* pixel) const {
        std::array<std::uint64_t, 3> moves; // fraction above, stride below
        std::uint32_t point = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            const std::uint32_t place = pixel[c];
            const std::uint32_t position = (place + (place >> 15)) * steps; // 65536 at the last one
            point += (position >> 16) * strides<steps>[c];
            moves[c] = std::uint64_t{position & 0xffff} << 32 | strides<steps>[c];
        }
        // Without a branch: which fraction is the larger cannot be predicted.
        const auto order = [](std::uint64_t& first, std::uint64_t& second) {
            const std::uint64_t change = (first ^ second) & -std::uint64_t{first < second};
            first ^= change;
            second ^= change;
        };
        order(moves[0], moves[1]);
        order(moves[1], moves[2]);
        order(moves[0], moves[1]);
        Corners corners;
        std::uint32_t before = 65536;
        for (std::size_t i = 0; i < 3; ++i) {
            const auto fraction = static_cast<std::uint32_t>(moves[i] >> 32);
            corners.points[i] = point;
            corners.weights[i] = before - fraction;
            before = fraction;
            // Without a fraction the axis may be at its last plane.
            point += fraction > 0 ? static_cast<std::uint32_t>(moves[i]) : 0;
        }
        corners.points[3] = point;
        corners.weights[3] = before;
        return corners;
    }

    template <std::uint32_t steps>
    [[gnu::always_inline]] std::uint64_t between(const Corners& corners) const {
        // Two sums of 32 bits side by side in each: the weights add up to 65536, so that neither
        // runs over into the other.
        constexpr std::uint64_t lanes = 0x0000ffff0000ffff;
        std::uint64_t even = 0;
        std::uint64_t odd = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const std::uint64_t value = valueAt<steps>(corners.points[i]);
            even += (value & lanes) * corners.weights[i];
            odd += (value >> 16 & lanes) * corners.weights[i];
        }
        return (even >> 16 & lanes) | (odd & ~lanes);
    }

    // So far along an edge, of 65535; none beyond the first plane or the last.
    static std::optional<Pixel> placeOn(const Edge& edge, const Pixel& corner, int side,
                                        int along) {
        Pixel result;
        for (std::size_t c = 0; c < 3; ++c) {
            const int place = corner[c] + edge.from[c] * side + edge.along[c] * along;
            if (place < 0 || place > 65535)
                return {};
            result[c] = static_cast<std::uint16_t>(place);
        }
        return result;
    }

    // At a point of the fine grid, so that it serves again.
    std::uint64_t pointAt(const Pixel& pixel) const {
        std::uint32_t point = 0;
        for (std::size_t c = 0; c < 3; ++c)
            point += pixel[c] / 257u * strides<fineSteps>[c];
        return valueAt<fineSteps>(point);
    }

    // What interpolation is off by, in the channel where it is most.
    template <std::uint32_t steps>
    int errorAt(const Pixel& pixel, std::uint64_t exact) const {
        const std::uint64_t value = between<steps>(cornersOf<steps>(pixel.data()));
        int result = 0;
        for (std::size_t c = 0; c < m_outChannels; ++c)
            result = std::max(result, std::abs(channelOf(value, c) - channelOf(exact, c)));
        return result;
    }

    // The second difference, in the channel where it is most.
    int bend(std::uint64_t before, std::uint64_t here, std::uint64_t after) const {
        int result = 0;
        for (std::size_t c = 0; c < m_outChannels; ++c)
            result = std::max(result, std::abs(channelOf(before, c) - 2 * channelOf(here, c) +
                                               channelOf(after, c)));
        return result;
    }

    State measuredCoarse(std::uint32_t cell) const {
        constexpr int side = planesOfCell * 257;
        const Pixel corner = placeOfPoint<coarseSteps>(cell);
        for (const Edge& edge : edges)
            for (int along = 257; along < side; along += 257)
                if (const auto place = placeOn(edge, corner, side, along);
                    place && errorAt<coarseSteps>(*place, pointAt(*place)) > mostCoarseError)
                    return rough;
        return smooth;
    }

    State measuredFine(std::uint32_t cell) const {
        const Pixel corner = placeOfPoint<fineSteps>(cell);
        for (const Edge& edge : edges) {
            const bool isShared = edge.along == std::array{1, 1, 1};
            std::array<std::optional<Pixel>, 4> places;
            std::array<std::uint64_t, 4> values{};
            for (std::size_t i = 0; i < 4; ++i) {
                places[i] = placeOn(edge, corner, 257, static_cast<int>(i) * 257 - 257);
                values[i] = places[i] ? pointAt(*places[i]) : 0;
            }
            if (!places[1] || !places[2])
                continue;
            // Where light begins, a device's curve may be as steep as it likes; that of inks is
            // not.
            for (std::size_t c = 0; c < m_outChannels && m_outChannels < 4; ++c)
                if ((channelOf(values[1], c) <= 1) != (channelOf(values[2], c) <= 1))
                    return rough;
            // What bends as often as there are planes looks straight from plane to plane: the one
            // edge that all six tetrahedra share is always measured.
            const bool isStraight = !isShared && places[0] && places[3] &&
                                    bend(values[0], values[1], values[2]) <= mostBend &&
                                    bend(values[1], values[2], values[3]) <= mostBend;
            if (isStraight)
                continue;
            const Pixel halfway = *placeOn(edge, corner, 257, 128);
            if (errorAt<fineSteps>(halfway, exactly(halfway.data())) > mostErrorHalfway)
                return rough;
        }
        return smooth;
    }

    std::uint64_t interpolated(const std::uint16_t* pixel) const {
        const Corners coarse = cornersOf<coarseSteps>(pixel);
        const auto stateOf = [](std::atomic<State>& kept, auto measured) {
            State state = kept.load(std::memory_order_relaxed);
            if (state == unmeasured) [[unlikely]]
                kept.store(state = measured(), std::memory_order_relaxed);
            return state;
        };
        const std::uint32_t cell = coarse.points[0];
        if (stateOf(m_coarseStates[cell], [&] { return measuredCoarse(cell); }) == smooth)
            return between<coarseSteps>(coarse);
        const Corners fine = cornersOf<fineSteps>(pixel);
        const std::uint32_t point = fine.points[0];
        const State state = stateOf(m_states[placeOf(point >> 16, point >> 8 & 255, point & 255)],
                                    [&] { return measuredFine(point); });
        return state == smooth ? between<fineSteps>(fine) : exactly(pixel);
    }

    Convert m_exact;
    std::size_t m_outChannels;
    // The points of every plane, and the cells that begin at them.
    std::shared_ptr<Node[]> m_nodes;
    std::shared_ptr<std::atomic<State>[]> m_states;
    // Those of every fifth plane, close together.
    mutable std::vector<Node> m_coarseNodes;
    mutable std::vector<std::atomic<State>> m_coarseStates;
};

} // namespace

Convert colorTable(const Convert& exact, int outChannels) {
    // All bits of a result are inverted, so that 0 stands for none yet. Four inks of 255 would be
    // none for ever, and right all the same.
    using Entry = std::atomic<std::uint32_t>;
    return [=, entries = untouched<Entry>()](const void* in, void* out, std::size_t pixels) {
        const auto* from = static_cast<const std::uint8_t*>(in);
        auto* to = static_cast<std::uint8_t*>(out);
        for (std::size_t i = 0; i < pixels; ++i, from += 3) {
            Entry& entry = entries[placeOf(from[0], from[1], from[2])];
            std::uint32_t inverted = entry.load(std::memory_order_relaxed);
            if (inverted == 0) [[unlikely]] {
                std::array<std::uint8_t, 4> result{};
                exact(from, result.data(), 1);
                inverted = ~std::bit_cast<std::uint32_t>(result);
                entry.store(inverted, std::memory_order_relaxed);
            }
            const auto result = std::bit_cast<std::array<std::uint8_t, 4>>(~inverted);
            for (int c = 0; c < outChannels; ++c)
                *to++ = result[static_cast<std::size_t>(c)];
        }
    };
}

Convert colorGrid(Convert exact, int outChannels) {
    const auto grid = std::make_shared<const ColorGrid>(std::move(exact), outChannels);
    return [grid](const void* in, void* out, std::size_t pixels) {
        grid->convert(static_cast<const std::uint16_t*>(in), static_cast<std::uint8_t*>(out),
                      pixels);
    };
}

} // namespace lumivert::decoder
