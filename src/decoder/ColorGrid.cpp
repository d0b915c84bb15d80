#include "decoder/ColorGrid.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>
#include <numeric>
#include <sys/mman.h>
#include <utility>

namespace lumivert::decoder {
namespace {

constexpr std::size_t nodeCount = std::size_t{1} << 24;
constexpr std::size_t gridBytes = nodeCount * sizeof(std::uint64_t);

// Blocks of 8 x 8 x 8 neighbours, a page each: the part of the index that a coordinate decides,
// red's shifted by 6 and 19, green's by 3 and 14, blue's by 0 and 9.
constexpr std::uint32_t spread(std::uint32_t coordinate, int low, int high) {
    return (coordinate & 7) << low | (coordinate >> 3) << high;
}

constexpr std::uint32_t step = 5;
constexpr std::uint32_t coarsePlanes = 255 / step + 1;
constexpr std::array<std::uint32_t, 3> coarseStrides{coarsePlanes * coarsePlanes, coarsePlanes, 1};
constexpr std::array<std::uint32_t, 3> fineStrides{1u << 16, 1u << 8, 1};

// Of 65535. Between all planes a kink is a fifth of what it is between every fifth.
constexpr int coarseError = 257 / 4;
constexpr int fineError = 257;

// Where a cell is measured, in quarters of its sides: a kink crosses faces and edges too.
constexpr std::array<std::array<std::uint32_t, 3>, 15> probes{{{2, 2, 2},
                                                               {2, 1, 3},
                                                               {3, 2, 1},
                                                               {1, 3, 2},
                                                               {1, 1, 1},
                                                               {3, 3, 3},
                                                               {2, 2, 0},
                                                               {2, 0, 2},
                                                               {0, 2, 2},
                                                               {2, 2, 4},
                                                               {2, 4, 2},
                                                               {4, 2, 2},
                                                               {2, 0, 0},
                                                               {0, 2, 0},
                                                               {0, 0, 2}}};

constexpr std::uint32_t packed(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
    return r << 16 | g << 8 | b;
}

void keepOneOfEach(std::vector<std::uint32_t>& values) {
    std::ranges::sort(values);
    const auto repeated = std::ranges::unique(values);
    values.erase(repeated.begin(), repeated.end());
}

// Linear light that sRGB encodes as `encoded` (IEC 61966-2-1): planes at equal steps of it are
// about equally far apart to the eye.
double decoded(double encoded) {
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

// Four values of 16 bits, two sums of 32 bits side by side in each half: the weights add up to
// 65536, so that neither runs over into the other.
class WeightedSum {
public:
    void add(std::uint64_t values, std::uint32_t weight) {
        m_even += (values & lanes) * weight;
        m_odd += (values >> 16 & lanes) * weight;
    }
    [[nodiscard]] std::uint64_t result() const { return (m_even >> 16 & lanes) | (m_odd & ~lanes); }

private:
    static constexpr std::uint64_t lanes = 0x0000ffff0000ffff;
    std::uint64_t m_even = 0;
    std::uint64_t m_odd = 0;
};

// Sakamoto's tetrahedra: from the cell's low corner along the axes in the order of their fractions.
template <class Corners, class Positions>
Corners cornersOf(const Positions& positions, const std::array<std::uint32_t, 3>& strides,
                  const std::uint16_t* pixel) {
    std::array<std::uint64_t, 3> steps; // fraction above, stride below
    std::uint32_t point = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        const auto position = positions[c][pixel[c]];
        point += position.plane * strides[c];
        steps[c] = std::uint64_t{position.fraction} << 32 | strides[c];
    }
    // Without a branch: which fraction is the larger cannot be predicted.
    const auto order = [](std::uint64_t& first, std::uint64_t& second) {
        const std::uint64_t larger = std::max(first, second);
        second = std::min(first, second);
        first = larger;
    };
    order(steps[0], steps[1]);
    order(steps[1], steps[2]);
    order(steps[0], steps[1]);
    Corners corners;
    std::uint32_t before = 65536;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto fraction = static_cast<std::uint32_t>(steps[i] >> 32);
        corners.points[i] = point;
        corners.weights[i] = before - fraction;
        before = fraction;
        // Without a fraction the axis may be at its last plane.
        point += fraction > 0 ? static_cast<std::uint32_t>(steps[i]) : 0;
    }
    corners.points[3] = point;
    corners.weights[3] = before;
    return corners;
}

} // namespace

ColorGrid::ColorGrid(std::unique_ptr<const ColorTransform> exact, const Profile& from, int inBits,
                     int outChannels)
    : m_exact(std::move(exact))
    , m_inBits(inBits)
    , m_outChannels(outChannels) {
    void* memory = ::mmap(nullptr, gridBytes, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    m_nodes = static_cast<Node*>(memory);
    for (auto& planes : m_planes)
        for (std::size_t i = 0; i < planes.size(); ++i)
            planes[i] = static_cast<std::uint16_t>(i * 257);
    if (inBits == 16)
        placePlanes(from);
}

ColorGrid::~ColorGrid() {
    ::munmap(m_nodes, gridBytes);
}

void ColorGrid::placePlanes(const Profile& from) {
    constexpr std::array tags{cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    const bool hasCurves = cmsIsMatrixShaper(from.get());
    for (std::size_t c = 0; c < tags.size(); ++c) {
        auto& planes = m_planes[c];
        if (hasCurves) {
            const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(from.get(), tags[c]));
            // The first value that is as light as the plane wants; never two planes at one value.
            std::uint32_t value = 0;
            for (std::uint32_t i = 1; i < 255; ++i) {
                const double light = decoded(i / 255.0);
                const std::uint32_t last = 65535 - (255 - i);
                ++value;
                while (curve && value < last &&
                       cmsEvalToneCurveFloat(curve, static_cast<float>(value) / 65535) < light)
                    ++value;
                planes[i] = static_cast<std::uint16_t>(value);
            }
        }
        const auto between = [&](std::vector<Position>& positions, std::uint32_t stride) {
            positions.resize(65536);
            for (std::uint32_t i = 0; i < 255; i += stride) {
                const std::uint32_t low = planes[i];
                const std::uint32_t high = planes[i + stride];
                for (std::uint32_t value = low; value < high; ++value)
                    positions[value] = {
                        static_cast<std::uint16_t>(i / stride),
                        static_cast<std::uint16_t>((value - low) * 65536 / (high - low))};
            }
            positions[65535] = {static_cast<std::uint16_t>(255 / stride), 0};
        };
        between(m_coarse[c], step);
        between(m_fine[c], 1);
    }
    m_coarseNodes = std::vector<Node>(coarsePlanes * coarsePlanes * coarsePlanes);
    m_ways = std::vector<std::atomic<Way>>(m_coarseNodes.size());
}

ColorGrid::Node& ColorGrid::node(std::uint32_t color) const {
    return m_nodes[spread(color >> 16, 6, 19) | spread(color >> 8 & 255, 3, 14) |
                   spread(color & 255, 0, 9)];
}

void ColorGrid::evaluate(std::vector<std::uint32_t> colors) const {
    std::erase_if(colors, [&](std::uint32_t color) {
        return node(color).load(std::memory_order_relaxed) != 0;
    });
    if (colors.empty())
        return;
    keepOneOfEach(colors);
    std::vector<std::uint16_t> in(colors.size() * 3);
    std::vector<std::uint16_t> out(colors.size() * static_cast<std::size_t>(m_outChannels));
    for (std::size_t i = 0; i < colors.size(); ++i) {
        in[i * 3] = m_planes[0][colors[i] >> 16];
        in[i * 3 + 1] = m_planes[1][colors[i] >> 8 & 255];
        in[i * 3 + 2] = m_planes[2][colors[i] & 255];
    }
    m_exact->convert(in.data(), out.data(), colors.size());
    const std::uint16_t* from = out.data();
    for (const std::uint32_t color : colors) {
        std::uint64_t value = std::max<std::uint64_t>(from[0], 1);
        for (int c = 1; c < m_outChannels; ++c)
            value |= std::uint64_t{from[c]} << (16 * c);
        from += m_outChannels;
        node(color).store(value, std::memory_order_relaxed);
    }
}

void ColorGrid::store(std::uint64_t value, std::uint8_t* out) const {
    for (int c = 0; c < m_outChannels; ++c, value >>= 16)
        out[c] = static_cast<std::uint8_t>(((value & 0xffff) * 255 + 32895) >> 16);
}

void ColorGrid::convert(const void* in, void* out, std::size_t pixels) const {
    auto* to = static_cast<std::uint8_t*>(out);
    if (m_inBits == 16)
        convert16(static_cast<const std::uint16_t*>(in), to, pixels);
    else
        convert8(static_cast<const std::uint8_t*>(in), to, pixels);
}

void ColorGrid::convert8(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels) const {
    const auto channels = static_cast<std::size_t>(m_outChannels);
    std::vector<std::uint32_t> missing;
    std::vector<std::uint32_t> places;
    for (std::size_t i = 0; i < pixels; ++i) {
        const std::uint8_t* pixel = in + i * 3;
        const std::uint32_t color = packed(pixel[0], pixel[1], pixel[2]);
        const std::uint64_t value = node(color).load(std::memory_order_relaxed);
        if (value == 0) {
            missing.push_back(color);
            places.push_back(static_cast<std::uint32_t>(i));
        } else {
            store(value, out + i * channels);
        }
    }
    evaluate(std::move(missing));
    for (const std::uint32_t i : places) {
        const std::uint8_t* pixel = in + std::size_t{i} * 3;
        store(node(packed(pixel[0], pixel[1], pixel[2])).load(std::memory_order_relaxed),
              out + i * channels);
    }
}

ColorGrid::Corners ColorGrid::fineCorners(const std::uint16_t* pixel) const {
    return cornersOf<Corners>(m_fine, fineStrides, pixel);
}

ColorGrid::Corners ColorGrid::coarseCorners(const std::uint16_t* pixel) const {
    return cornersOf<Corners>(m_coarse, coarseStrides, pixel);
}

std::uint64_t ColorGrid::betweenCoarse(const Corners& corners) const {
    WeightedSum sum;
    for (std::size_t i = 0; i < 4; ++i)
        sum.add(m_coarseNodes[corners.points[i]].load(std::memory_order_relaxed),
                corners.weights[i]);
    return sum.result();
}

std::optional<std::uint64_t> ColorGrid::betweenFine(const Corners& corners) const {
    WeightedSum sum;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::uint64_t value = node(corners.points[i]).load(std::memory_order_relaxed);
        if (value == 0)
            return std::nullopt;
        sum.add(value, corners.weights[i]);
    }
    return sum.result();
}

std::uint32_t ColorGrid::cellOf(const std::uint16_t* pixel) const {
    std::uint32_t cell = 0;
    for (std::size_t c = 0; c < 3; ++c)
        cell += m_coarse[c][pixel[c]].plane * coarseStrides[c];
    return cell;
}

void ColorGrid::measure(std::vector<std::uint32_t>& cells) const {
    keepOneOfEach(cells);
    std::vector<std::uint32_t> corners;
    std::vector<std::uint16_t> pixels;
    for (const std::uint32_t cell : cells) {
        std::array<std::uint32_t, 3> low{};
        for (std::size_t c = 0; c < 3; ++c)
            low[c] = cell / coarseStrides[c] % coarsePlanes * step;
        const auto high = [&](std::size_t c) { return std::min(low[c] + step, 255u); };
        for (int i = 0; i < 8; ++i)
            corners.push_back(packed(i & 4 ? high(0) : low[0], i & 2 ? high(1) : low[1],
                                     i & 1 ? high(2) : low[2]));
        for (const auto& probe : probes)
            for (std::size_t c = 0; c < 3; ++c) {
                const std::uint32_t first = m_planes[c][low[c]];
                const std::uint32_t last = m_planes[c][high(c)];
                pixels.push_back(static_cast<std::uint16_t>(first + (last - first) * probe[c] / 4));
            }
    }
    evaluate(corners);
    for (const std::uint32_t color : corners)
        m_coarseNodes[(color >> 16) / step * coarseStrides[0] +
                      (color >> 8 & 255) / step * coarseStrides[1] + (color & 255) / step]
            .store(node(color).load(std::memory_order_relaxed), std::memory_order_relaxed);
    const auto channels = static_cast<std::size_t>(m_outChannels);
    const std::size_t count = pixels.size() / 3;
    std::vector<std::uint16_t> expected(count * channels);
    m_exact->convert(pixels.data(), expected.data(), count);
    for (std::size_t cell = 0; cell < cells.size(); ++cell) {
        int error = 0;
        for (std::size_t i = cell * probes.size(); i < (cell + 1) * probes.size(); ++i) {
            const std::uint64_t value = betweenCoarse(coarseCorners(pixels.data() + i * 3));
            for (std::size_t c = 0; c < channels; ++c)
                error = std::max(error, std::abs(static_cast<int>(value >> (16 * c) & 0xffff) -
                                                 expected[i * channels + c]));
        }
        m_ways[cells[cell]].store(error <= coarseError ? coarse
                                  : error <= fineError ? fine
                                                       : evaluated,
                                  std::memory_order_release);
    }
}

void ColorGrid::convert16(const std::uint16_t* in, std::uint8_t* out, std::size_t pixels) const {
    const auto channels = static_cast<std::size_t>(m_outChannels);
    std::vector<std::uint32_t> steep;
    std::vector<std::uint32_t> pending(pixels);
    std::iota(pending.begin(), pending.end(), 0);
    // Three rounds at most: a cell is measured, its points evaluated, its pixels interpolated.
    while (!pending.empty()) {
        std::vector<std::uint32_t> late;
        std::vector<std::uint32_t> cells;
        std::vector<std::uint32_t> missing;
        for (const std::uint32_t i : pending) {
            const std::uint16_t* pixel = in + std::size_t{i} * 3;
            const std::uint32_t cell = cellOf(pixel);
            const Way way = m_ways[cell].load(std::memory_order_acquire);
            if (way == coarse) {
                store(betweenCoarse(coarseCorners(pixel)), out + i * channels);
                continue;
            }
            if (way == evaluated) {
                steep.push_back(i);
                continue;
            }
            if (way == unmeasured) {
                cells.push_back(cell);
                late.push_back(i);
                continue;
            }
            const Corners corners = fineCorners(pixel);
            if (const auto value = betweenFine(corners)) {
                store(*value, out + i * channels);
                continue;
            }
            missing.insert(missing.end(), corners.points.begin(), corners.points.end());
            late.push_back(i);
        }
        if (!cells.empty())
            measure(cells);
        evaluate(std::move(missing));
        pending.swap(late);
    }
    convertExactly(in, out, steep);
}

void ColorGrid::convertExactly(const std::uint16_t* in, std::uint8_t* out,
                               const std::vector<std::uint32_t>& places) const {
    if (places.empty())
        return;
    const auto channels = static_cast<std::size_t>(m_outChannels);
    std::vector<std::uint16_t> from(places.size() * 3);
    std::vector<std::uint16_t> to(places.size() * channels);
    for (std::size_t i = 0; i < places.size(); ++i)
        std::copy_n(in + std::size_t{places[i]} * 3, 3, from.data() + i * 3);
    m_exact->convert(from.data(), to.data(), places.size());
    for (std::size_t i = 0; i < places.size(); ++i)
        for (std::size_t c = 0; c < channels; ++c)
            out[places[i] * channels + c] =
                static_cast<std::uint8_t>((to[i * channels + c] * 255u + 32895) >> 16);
}

} // namespace lumivert::decoder
