#include "decoder/ColorGrid.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <new>
#include <optional>
#include <random>
#include <utility>
#include <vector>

namespace lumivert::decoder {
namespace {

constexpr std::uint32_t fineSteps = 255;
constexpr std::uint32_t coarseSteps = 51;
constexpr std::uint32_t planesOfCell = fineSteps / coarseSteps;

// Of 65535. Half a step of 255 is for interpolation, the other half for the rounding to 8 bits. Of
// a kink's largest error, four fifths at least show at the planes between a coarse cell's ends, or
// at the quarters of a fine one's edge. Errors up to the slight ones are no sign of a kink.
constexpr int mostCoarseError = 257 * 33 / 100;
constexpr int slightCoarseError = 257 * 24 / 100;
constexpr int mostFineError = 257 * 38 / 100;
constexpr int slightFineError = 257 * 20 / 100;
// Second differences. A kink's largest error is at most half of the larger of its two; where a
// table jumps to and fro, two of opposite signs hide what is between them.
constexpr int mostBend = 200;
constexpr int mostZigzag = 80;

// Cells that are measured to judge a conversion by, and how many of them may be rough: at most 20
// are with tables that a profiling program makes, 33 to 57 with one that jumps from point to point.
constexpr int trials = 64;
constexpr int mostRough = 25;

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

// What a point's number grows by along each axis.
template <std::uint32_t steps>
constexpr std::array<std::uint32_t, 3> strides{(steps + 1) * (steps + 1), steps + 1, 1};

// Whether pixels in a cell may be interpolated between its corners.
enum State : std::uint8_t { unmeasured, smooth, rough };

// How values at four planes in a row go on.
enum Course { straight, bent, zigzag };

// Of a cell's tetrahedra, in cells: where it begins and where it leads. Where one kink runs through
// a tetrahedron, interpolation is furthest off on one of its edges.
struct Edge {
    std::array<int, 3> from;
    std::array<int, 3> along;
};

constexpr std::array<int, 3> everyAxis{1, 1, 1};

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

// A cell, whose number is that of its low corner, and the place in it of 65536.
struct Position {
    std::uint32_t cell;
    std::array<std::uint32_t, 3> fractions;
};

class ColorGrid {
public:
    ColorGrid(Convert exact, int outChannels)
        : m_exact(std::move(exact))
        , m_outChannels(static_cast<std::size_t>(outChannels))
        , m_nodes(untouched<Node>())
        , m_states(untouched<std::atomic<State>>())
        , m_coarseNodes(coarsePoints)
        , m_coarseStates(coarsePoints) {}

    // Whether it is worth the measuring.
    bool isMostlySmooth() const {
        std::minstd_rand random;
        int roughCells = 0;
        for (int i = 0; i < trials; ++i)
            roughCells += measuredFine(random() & 0xffffff) == rough;
        return roughCells <= mostRough;
    }

    void convert(const std::uint16_t* in, std::uint8_t* out, std::size_t pixels) const {
        // Of 255, rounded, two channels side by side.
        const auto narrowed = [](std::uint64_t values) {
            return ((values & lanes) * 255 + 0x0000807f0000807f) >> 16 & 0x000000ff000000ff;
        };
        for (std::size_t i = 0; i < 3 * pixels; i += 3) {
            // No cache holds the fine grid.
            constexpr std::size_t ahead = 3 * 4;
            if (i + ahead < 3 * pixels) {
                const std::uint32_t cell = positionOf<fineSteps>(in + i + ahead).cell;
                __builtin_prefetch(&stateAt(cell));
                __builtin_prefetch(&nodeAt<fineSteps>(cell));
            }
            const std::uint64_t value = interpolated(in + i);
            const std::uint64_t pairs = narrowed(value) | narrowed(value >> 16) << 8;
            auto bytes = static_cast<std::uint32_t>(pairs | pairs >> 16);
            const auto write = [&](std::size_t channels) {
                for (std::size_t c = 0; c < channels; ++c, bytes >>= 8)
                    *out++ = static_cast<std::uint8_t>(bytes);
            };
            m_outChannels == 4 ? write(4) : write(m_outChannels); // four are one word
        }
    }

private:
    static constexpr std::uint64_t lanes = 0x0000ffff0000ffff;
    // A corner without weight may lie beyond the last plane.
    static constexpr std::size_t coarsePoints =
        std::size_t{coarseSteps + 2} * (coarseSteps + 2) * (coarseSteps + 2);

    [[gnu::noinline]] std::uint64_t exactly(const std::uint16_t* pixel) const {
        std::array<std::uint16_t, 4> channels{};
        m_exact(pixel, channels.data(), 1);
        std::uint64_t value = std::max<std::uint64_t>(channels[0], 1);
        for (std::size_t c = 1; c < channels.size(); ++c)
            value |= std::uint64_t{channels[c]} << (16 * c);
        return value;
    }

    // A point of the grid whose sides have so many steps.
    template <std::uint32_t steps>
    Node& nodeAt(std::uint32_t point) const {
        if constexpr (steps == coarseSteps)
            return m_coarseNodes[point];
        else
            return m_nodes[placeOf(point >> 16 & 255, point >> 8 & 255, point & 255)];
    }

    // Of a fine cell.
    std::atomic<State>& stateAt(std::uint32_t cell) const {
        return m_states[placeOf(cell >> 16, cell >> 8 & 255, cell & 255)];
    }

    template <std::uint32_t steps>
    static Pixel placeOfPoint(std::uint32_t point) {
        Pixel result;
        for (std::size_t c = 0; c < 3; ++c)
            result[c] = static_cast<std::uint16_t>(point / strides<steps>[c] % (steps + 1) *
                                                   (65535 / steps));
        return result;
    }

    template <std::uint32_t steps>
    [[gnu::always_inline]] static Position positionOf(const std::uint16_t* pixel) {
        Position result{};
        for (std::size_t c = 0; c < 3; ++c) {
            const std::uint32_t place = pixel[c];
            const std::uint32_t position = (place + (place >> 15)) * steps; // 65536 at the last one
            result.cell += (position >> 16) * strides<steps>[c];
            result.fractions[c] = position & 0xffff;
        }
        return result;
    }

    // Sakamoto's tetrahedra: from the cell's low corner to its high one, along the axes in the
    // order of their fractions. The corners that have weight must stand. Without a branch, for
    // which fraction is the larger cannot be predicted, and inlined, for every pixel comes here.
    template <std::uint32_t steps>
    [[gnu::always_inline]] std::uint64_t between(const Position& position) const {
        constexpr auto axis = strides<steps>;
        // By which of red and green, green and blue, red and blue is the smaller: after one step
        // and after two.
        static constexpr std::array<std::uint32_t, 8> once{axis[0], axis[1], axis[0], 0,
                                                           0,       axis[1], axis[2], axis[2]};
        static constexpr std::array<std::uint32_t, 8> twice{
            axis[0] + axis[1], axis[0] + axis[1], axis[0] + axis[2], 0, 0,
            axis[1] + axis[2], axis[0] + axis[2], axis[1] + axis[2]};
        const auto [red, green, blue] = position.fractions;
        const std::size_t order = std::size_t{red < green} | std::size_t{green < blue} << 1 |
                                  std::size_t{red < blue} << 2;
        const std::uint32_t largest = std::max(std::max(red, green), blue);
        const std::uint32_t least = std::min(std::min(red, green), blue);
        const std::uint32_t middle = red + green + blue - largest - least;
        const std::uint32_t cell = position.cell;
        // Two sums of 32 bits side by side in each: the weights add up to 65536, so that neither
        // runs over into the other.
        std::uint64_t even = 0;
        std::uint64_t odd = 0;
        const auto add = [&](std::uint32_t point, std::uint32_t weight) {
            const std::uint64_t value = nodeAt<steps>(point).load(std::memory_order_relaxed);
            even += (value & lanes) * weight;
            odd += (value >> 16 & lanes) * weight;
        };
        add(cell, 65536 - largest);
        add(cell + once[order], largest - middle);
        add(cell + twice[order], middle - least);
        add(cell + axis[0] + axis[1] + axis[2], least);
        return (even >> 16 & lanes) | (odd & ~lanes);
    }

    std::uint64_t interpolated(const std::uint16_t* pixel) const {
        const auto stateOf = [](std::atomic<State>& kept, auto measured) {
            State state = kept.load(std::memory_order_acquire);
            if (state == unmeasured) [[unlikely]]
                kept.store(state = measured(), std::memory_order_release);
            return state;
        };
        const Position coarse = positionOf<coarseSteps>(pixel);
        if (stateOf(m_coarseStates[coarse.cell], [&] { return measuredCoarse(coarse.cell); }) ==
            smooth)
            return between<coarseSteps>(coarse);
        const Position fine = positionOf<fineSteps>(pixel);
        const State state = stateOf(stateAt(fine.cell), [&] { return measuredFine(fine.cell); });
        return state == smooth ? between<fineSteps>(fine) : exactly(pixel);
    }

    template <std::uint32_t steps>
    std::uint64_t valueAt(std::uint32_t point) const {
        Node& node = nodeAt<steps>(point);
        std::uint64_t value = node.load(std::memory_order_relaxed);
        if (value == 0)
            node.store(value = exactly(placeOfPoint<steps>(point).data()),
                       std::memory_order_relaxed);
        return value;
    }

    // On a point of the fine grid it serves again.
    std::uint64_t valueOf(const Pixel& pixel) const {
        std::uint32_t point = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            if (pixel[c] % 257 != 0)
                return exactly(pixel.data());
            point += pixel[c] / 257u * strides<fineSteps>[c];
        }
        return valueAt<fineSteps>(point);
    }

    // So far from the corner along each axis, of 65535; none beyond the first plane or the last.
    static std::optional<Pixel> placeFrom(const Pixel& corner, const std::array<int, 3>& distance) {
        Pixel result;
        for (std::size_t c = 0; c < 3; ++c) {
            const int place = corner[c] + distance[c];
            if (place < 0 || place > 65535)
                return {};
            result[c] = static_cast<std::uint16_t>(place);
        }
        return result;
    }

    static std::optional<Pixel> placeOn(const Edge& edge, const Pixel& corner, int side,
                                        int along) {
        std::array<int, 3> distance;
        for (std::size_t c = 0; c < 3; ++c)
            distance[c] = edge.from[c] * side + edge.along[c] * along;
        return placeFrom(corner, distance);
    }

    // Makes a cell's corners stand.
    template <std::uint32_t steps>
    void fill(std::uint32_t cell, const Pixel& corner) const {
        constexpr auto axis = strides<steps>;
        constexpr int side = 65535 / steps;
        for (std::uint32_t red = 0; red < 2; ++red)
            for (std::uint32_t green = 0; green < 2; ++green)
                for (std::uint32_t blue = 0; blue < 2; ++blue)
                    if (placeFrom(corner,
                                  {static_cast<int>(red) * side, static_cast<int>(green) * side,
                                   static_cast<int>(blue) * side}))
                        valueAt<steps>(cell + red * axis[0] + green * axis[1] + blue * axis[2]);
    }

    // What interpolation is off by, in the channel where it is most; 0 at no place.
    template <std::uint32_t steps>
    int errorAt(const std::optional<Pixel>& place) const {
        if (!place)
            return 0;
        const std::uint64_t exact = valueOf(*place);
        const std::uint64_t value = between<steps>(positionOf<steps>(place->data()));
        int result = 0;
        for (std::size_t c = 0; c < m_outChannels; ++c)
            result = std::max(result, std::abs(channelOf(value, c) - channelOf(exact, c)));
        return result;
    }

    // Whether interpolation is off by more than `most` at one of the places so far along the axes.
    template <std::uint32_t steps, std::size_t count>
    bool missesWithin(const Pixel& corner, const std::array<int, count>& distances,
                      int most) const {
        for (const int red : distances)
            for (const int green : distances)
                for (const int blue : distances)
                    if (errorAt<steps>(placeFrom(corner, {red, green, blue})) > most)
                        return true;
        return false;
    }

    // Kinks of a table may meet anywhere; between two planes there are those of the photo's own
    // curves, all of which the diagonal crosses.
    [[gnu::noinline]] State measuredCoarse(std::uint32_t cell) const {
        constexpr int side = planesOfCell * 257;
        const Pixel corner = placeOfPoint<coarseSteps>(cell);
        fill<coarseSteps>(cell, corner);
        int most = 0;
        for (const Edge& edge : edges)
            for (int along = 257; along < side && most <= mostCoarseError; along += 257)
                most = std::max(most, errorAt<coarseSteps>(placeOn(edge, corner, side, along)));
        for (int along = 103; along < side && most <= mostCoarseError; along += 103)
            most = std::max(most, errorAt<coarseSteps>(placeFrom(corner, {along, along, along})));
        if (most <= slightCoarseError)
            return smooth;
        constexpr std::array planes{0, 257, 2 * 257, 3 * 257, 4 * 257, side};
        return most > mostCoarseError || missesWithin<coarseSteps>(corner, planes, mostCoarseError)
                   ? rough
                   : smooth;
    }

    Course courseOf(const std::array<std::uint64_t, 4>& values) const {
        Course result = straight;
        for (std::size_t c = 0; c < m_outChannels; ++c) {
            const auto bend = [&](std::size_t i) {
                return channelOf(values[i - 1], c) - 2 * channelOf(values[i], c) +
                       channelOf(values[i + 1], c);
            };
            const int first = bend(1);
            const int second = bend(2);
            if ((first < 0) != (second < 0) &&
                std::min(std::abs(first), std::abs(second)) > mostZigzag)
                return zigzag;
            if (std::max(std::abs(first), std::abs(second)) > mostBend)
                result = bent;
        }
        return result;
    }

    [[gnu::noinline]] State measuredFine(std::uint32_t cell) const {
        const Pixel corner = placeOfPoint<fineSteps>(cell);
        fill<fineSteps>(cell, corner);
        // What lies on the outermost planes has no diagonal through it.
        const bool isFlat = std::ranges::count(corner, 65535) > 0;
        int most = 0;
        for (const Edge& edge : edges) {
            std::array<std::optional<Pixel>, 4> places;
            std::array<std::uint64_t, 4> values{};
            for (std::size_t i = 0; i < 4; ++i) {
                places[i] = placeOn(edge, corner, 257, static_cast<int>(i) * 257 - 257);
                values[i] = places[i] ? valueOf(*places[i]) : 0;
            }
            if (!places[1] || !places[2])
                continue;
            // Where light begins, a device's curve may be as steep as it likes; that of inks is
            // not.
            for (std::size_t c = 0; c < m_outChannels && m_outChannels < 4; ++c)
                if ((channelOf(values[1], c) <= 1) != (channelOf(values[2], c) <= 1))
                    return rough;
            const Course course = places[0] && places[3] && !isFlat ? courseOf(values) : bent;
            if (course == zigzag)
                return rough;
            // What bends as often as there are planes looks straight from plane to plane: the one
            // edge that all six tetrahedra share is always measured.
            if (course == straight && edge.along != everyAxis)
                continue;
            const auto error = [&](int along) {
                return errorAt<fineSteps>(placeOn(edge, corner, 257, along));
            };
            const int halfway = error(128);
            most = std::max(most, halfway);
            if (halfway > slightFineError && halfway <= mostFineError)
                most = std::max({most, error(64), error(193)});
            if (most > mostFineError)
                return rough;
        }
        constexpr std::array quarters{64, 128, 193};
        return most > slightFineError && missesWithin<fineSteps>(corner, quarters, mostFineError)
                   ? rough
                   : smooth;
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
    if (!grid->isMostlySmooth())
        return {};
    return [grid](const void* in, void* out, std::size_t pixels) {
        grid->convert(static_cast<const std::uint16_t*>(in), static_cast<std::uint8_t*>(out),
                      pixels);
    };
}

} // namespace lumivert::decoder
