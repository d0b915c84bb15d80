#include "decoder/ColorGrid.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <new>
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

// Of 65535, at the points where a cell is measured. Of what every fifth plane shows of a kink,
// every one has a fifth, wherever in the cell it is.
constexpr int mostCoarseError = 257 / 3;
constexpr int mostCoarseErrorOfFine = 257 * 2;
constexpr int mostFineError = 257 * 3 / 8;

// The places along a side where a cell is measured, in twentieths.
constexpr std::array<std::uint32_t, 5> probes{0, 2, 7, 12, 18};

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

// What pixels in a cell are interpolated between.
enum Way : std::uint8_t { unmeasured, coarse, fine, evaluated };

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
        , m_coarseNodes(std::size_t{coarseSteps + 1} * strides<coarseSteps>[0])
        , m_ways(m_coarseNodes.size()) {}

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
            Pixel pixel;
            for (std::size_t c = 0; c < 3; ++c)
                pixel[c] = static_cast<std::uint16_t>(planeOf<steps>(point, c) * 257);
            value = exactly(pixel.data());
            node.store(value, std::memory_order_relaxed);
        }
        return value;
    }

    template <std::uint32_t steps>
    static std::uint32_t planeOf(std::uint32_t point, std::size_t axis) {
        return point / strides<steps>[axis] % (steps + 1) * (fineSteps / steps);
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

    Way measured(std::uint32_t cell) const {
        int coarseError = 0;
        int fineError = 0;
        bool isAtBlack = false;
        // Every pair of places along two axes once: a kink crosses faces and edges too.
        for (std::uint32_t i = 0; i < 25; ++i) {
            const std::array places{probes[i % 5], probes[i / 5], probes[(i + 2 * (i / 5)) % 5]};
            Pixel pixel;
            for (std::size_t c = 0; c < 3; ++c) {
                // Of a point at the last plane no cell begins.
                const std::uint32_t plane = planeOf<coarseSteps>(cell, c);
                const std::uint32_t side = plane < fineSteps ? planesOfCell * 257 : 0;
                pixel[c] = static_cast<std::uint16_t>(plane * 257 + side * places[c] / 20);
            }
            const std::uint64_t exact = exactly(pixel.data());
            // Where light begins, a device's curve may be as steep as it likes; that of inks is
            // not.
            for (std::size_t c = 0; c < m_outChannels && m_outChannels < 4; ++c)
                isAtBlack = isAtBlack || channelOf(exact, c) <= 1;
            const auto addError = [&](int& error, std::uint64_t value) {
                for (std::size_t c = 0; c < m_outChannels; ++c)
                    error = std::max(error, std::abs(channelOf(value, c) - channelOf(exact, c)));
            };
            addError(coarseError, between<coarseSteps>(cornersOf<coarseSteps>(pixel.data())));
            if (coarseError > mostCoarseError)
                addError(fineError, between<fineSteps>(cornersOf<fineSteps>(pixel.data())));
        }
        if (coarseError <= mostCoarseError)
            return coarse;
        return coarseError <= mostCoarseErrorOfFine && fineError <= mostFineError && !isAtBlack
                   ? fine
                   : evaluated;
    }

    std::uint64_t interpolated(const std::uint16_t* pixel) const {
        const Corners corners = cornersOf<coarseSteps>(pixel);
        std::atomic<Way>& way = m_ways[corners.points[0]];
        if (way.load(std::memory_order_relaxed) == unmeasured)
            way.store(measured(corners.points[0]), std::memory_order_relaxed);
        switch (way.load(std::memory_order_relaxed)) {
        case coarse:
            return between<coarseSteps>(corners);
        case fine:
            return between<fineSteps>(cornersOf<fineSteps>(pixel));
        default:
            return exactly(pixel);
        }
    }

    Convert m_exact;
    std::size_t m_outChannels;
    std::shared_ptr<Node[]> m_nodes;
    // Every fifth plane's points, close together, and the cells that begin at them.
    mutable std::vector<Node> m_coarseNodes;
    mutable std::vector<std::atomic<Way>> m_ways;
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
