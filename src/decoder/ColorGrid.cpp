#include "decoder/ColorGrid.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>
#include <sys/mman.h>
#include <utility>

namespace lumivert::decoder {
namespace {

constexpr std::size_t gridBytes = (std::size_t{1} << 24) * sizeof(std::uint64_t);
constexpr std::uint32_t fineSteps = 255;
constexpr std::uint32_t coarseSteps = 51;

// Of 65535, at the points where a cell is measured. Of what every fifth plane shows of a kink,
// every one has a fifth, wherever in the cell it is.
constexpr int mostCoarseError = 257 / 4;
constexpr int mostCoarseErrorOfFine = 257 * 2;
constexpr int mostFineError = 257 / 2;

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

// IEC 61966-2-1: planes at equal steps of it are about equally far apart to the eye.
double encoded(double light) {
    return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

// The plane of a grid's point along an axis.
template <std::uint32_t steps>
std::uint32_t planeOf(std::uint32_t point, std::size_t axis) {
    constexpr std::array<std::uint32_t, 3> strides{(steps + 1) * (steps + 1), steps + 1, 1};
    return point / strides[axis] % (steps + 1) * (fineSteps / steps);
}

int channelOf(std::uint64_t value, std::size_t channel) {
    return static_cast<int>(value >> (16 * channel) & 0xffff);
}

} // namespace

void ColorGrid::Unmap::operator()(Node* nodes) const {
    ::munmap(nodes, gridBytes);
}

ColorGrid::ColorGrid(std::unique_ptr<const ColorTransform> exact, const Profile& from, int inBits,
                     int outChannels)
    : m_exact(std::move(exact))
    , m_inBits(inBits)
    , m_outChannels(static_cast<std::size_t>(outChannels)) {
    void* memory = ::mmap(nullptr, gridBytes, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    m_nodes.reset(static_cast<Node*>(memory));
    for (auto& planes : m_planes)
        for (std::size_t i = 0; i < planes.size(); ++i)
            planes[i] = static_cast<std::uint16_t>(i * 257);
    if (inBits == 16)
        placePlanes(from);
}

void ColorGrid::placePlanes(const Profile& from) {
    constexpr std::array tags{cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    const bool hasCurves = cmsIsMatrixShaper(from.get());
    for (std::size_t c = 0; c < tags.size(); ++c) {
        const auto* curve =
            hasCurves ? static_cast<const cmsToneCurve*>(cmsReadTag(from.get(), tags[c])) : nullptr;
        m_places[c].resize(65536);
        std::uint16_t place = 0;
        std::size_t plane = 1;
        for (std::size_t value = 0; value < 65536; ++value) {
            double share = static_cast<double>(value) / 65535;
            if (curve)
                share = encoded(std::clamp<double>(
                    cmsEvalToneCurveFloat(curve, static_cast<float>(share)), 0, 1));
            // Never back, whatever the curve does.
            place = std::max(place, static_cast<std::uint16_t>(65535 * share + 0.5));
            m_places[c][value] = place;
            for (; plane < fineSteps && place >= plane * 257; ++plane)
                m_planes[c][plane] = static_cast<std::uint16_t>(value);
        }
        m_places[c].back() = 65535;
    }
    m_coarseNodes = std::vector<Node>((coarseSteps + 1) * (coarseSteps + 1) * (coarseSteps + 1));
    m_ways = std::vector<std::atomic<Way>>(m_coarseNodes.size());
}

std::uint64_t ColorGrid::evaluatedAt(const std::uint16_t* pixel) const {
    std::array<std::uint16_t, 4> channels{};
    m_exact->convert(pixel, channels.data(), 1);
    std::uint64_t value = std::max<std::uint64_t>(channels[0], 1);
    for (std::size_t c = 1; c < channels.size(); ++c)
        value |= std::uint64_t{channels[c]} << (16 * c);
    return value;
}

template <std::uint32_t steps>
std::uint64_t ColorGrid::valueAt(std::uint32_t point) const {
    Node& node = steps == coarseSteps
                     ? m_coarseNodes[point]
                     : m_nodes.get()[spread[point >> 16] << 2 | spread[point >> 8 & 255] << 1 |
                                     spread[point & 255]];
    std::uint64_t value = node.load(std::memory_order_relaxed);
    if (value == 0) [[unlikely]] {
        std::array<std::uint16_t, 3> pixel;
        for (std::size_t c = 0; c < 3; ++c)
            pixel[c] = m_planes[c][planeOf<steps>(point, c)];
        value = evaluatedAt(pixel.data());
        node.store(value, std::memory_order_relaxed);
    }
    return value;
}

// Sakamoto's tetrahedra: from the cell's low corner along the axes in the order of their fractions.
// Inlined by order, for every pixel comes here: that halves its time.
template <std::uint32_t steps>
[[gnu::always_inline]] inline ColorGrid::Corners
ColorGrid::cornersOf(const std::uint16_t* pixel) const {
    constexpr std::array<std::uint32_t, 3> strides{(steps + 1) * (steps + 1), steps + 1, 1};
    std::array<std::uint64_t, 3> moves; // fraction above, stride below
    std::uint32_t point = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        const std::uint32_t place = m_places[c][pixel[c]];
        const std::uint32_t position = (place + (place >> 15)) * steps; // 65536 at the last plane
        point += (position >> 16) * strides[c];
        moves[c] = std::uint64_t{position & 0xffff} << 32 | strides[c];
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
[[gnu::always_inline]] inline std::uint64_t ColorGrid::between(const Corners& corners) const {
    // Two sums of 32 bits side by side in each: the weights add up to 65536, so that neither runs
    // over into the other.
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

ColorGrid::Way ColorGrid::measured(std::uint32_t cell) const {
    int coarseError = 0;
    int fineError = 0;
    bool isAtBlack = false;
    // Every pair of places along two axes once: a kink crosses faces and edges too.
    for (std::uint32_t i = 0; i < 25; ++i) {
        const std::array places{probes[i % 5], probes[i / 5], probes[(i + 2 * (i / 5)) % 5]};
        std::array<std::uint16_t, 3> pixel;
        for (std::size_t c = 0; c < 3; ++c) {
            const std::uint32_t plane = planeOf<coarseSteps>(cell, c);
            const std::uint32_t first = m_planes[c][plane];
            const std::uint32_t last =
                m_planes[c][std::min(plane + fineSteps / coarseSteps, fineSteps)];
            pixel[c] = static_cast<std::uint16_t>(first + (last - first) * places[c] / 20);
        }
        const std::uint64_t exact = evaluatedAt(pixel.data());
        // Where light begins, a device's curve may be as steep as it likes; that of inks is not.
        for (std::size_t c = 0; c < m_outChannels && m_outChannels < 4; ++c)
            isAtBlack = isAtBlack || channelOf(exact, c) <= 1;
        const auto errorOf = [&](std::uint64_t value) {
            int error = 0;
            for (std::size_t c = 0; c < m_outChannels; ++c)
                error = std::max(error, std::abs(channelOf(value, c) - channelOf(exact, c)));
            return error;
        };
        coarseError = std::max(coarseError,
                               errorOf(between<coarseSteps>(cornersOf<coarseSteps>(pixel.data()))));
        if (coarseError > mostCoarseError)
            fineError = std::max(fineError,
                                 errorOf(between<fineSteps>(cornersOf<fineSteps>(pixel.data()))));
    }
    const bool isFine =
        coarseError <= mostCoarseErrorOfFine && fineError <= mostFineError && !isAtBlack;
    const Way way = coarseError <= mostCoarseError ? coarse : isFine ? fine : evaluated;
    m_ways[cell].store(way, std::memory_order_relaxed);
    return way;
}

std::uint64_t ColorGrid::converted(const std::uint16_t* pixel) const {
    const Corners corners = cornersOf<coarseSteps>(pixel);
    Way way = m_ways[corners.points[0]].load(std::memory_order_relaxed);
    if (way == unmeasured)
        way = measured(corners.points[0]);
    return way == coarse ? between<coarseSteps>(corners)
           : way == fine ? between<fineSteps>(cornersOf<fineSteps>(pixel))
                         : evaluatedAt(pixel);
}

void ColorGrid::convert(const void* in, void* out, std::size_t pixels) const {
    const auto* narrow = static_cast<const std::uint8_t*>(in);
    const auto* wide = static_cast<const std::uint16_t*>(in);
    auto* to = static_cast<std::uint8_t*>(out);
    for (std::size_t i = 0; i < 3 * pixels; i += 3) {
        std::uint64_t value =
            m_inBits == 16
                ? converted(wide + i)
                : valueAt<fineSteps>(narrow[i] << 16 | narrow[i + 1] << 8 | narrow[i + 2]);
        for (std::size_t c = 0; c < m_outChannels; ++c, value >>= 16)
            *to++ = static_cast<std::uint8_t>(((value & 0xffff) * 255 + 32895) >> 16);
    }
}

} // namespace lumivert::decoder
