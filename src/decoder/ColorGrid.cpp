#include "decoder/ColorGrid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <new>
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

// A cell across which a channel changes by more is not interpolated: a table's edge or the gamut's
// may run through it.
constexpr std::uint16_t steepest = 3 * 257;

constexpr std::uint32_t packed(std::uint32_t r, std::uint32_t g, std::uint32_t b) {
    return r << 16 | g << 8 | b;
}

// Linear light that sRGB encodes as `encoded` (IEC 61966-2-1): planes at equal steps of it are
// about equally far apart to the eye.
double decoded(double encoded) {
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

} // namespace

ColorGrid::ColorGrid(std::unique_ptr<const ExactTransform> exact, const Profile& from, int inBits,
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
        auto& positions = m_positions[c];
        positions.resize(65536);
        for (std::uint32_t i = 0; i + 1 < planes.size(); ++i) {
            const std::uint32_t low = planes[i];
            const std::uint32_t high = planes[i + 1];
            for (std::uint32_t value = low; value < high; ++value)
                positions[value] = {
                    static_cast<std::uint16_t>(i),
                    static_cast<std::uint16_t>((value - low) * 65536 / (high - low))};
        }
        positions[65535] = {255, 0};
    }
}

ColorGrid::Node& ColorGrid::node(std::uint32_t r, std::uint32_t g, std::uint32_t b) const {
    return m_nodes[spread(r, 6, 19) | spread(g, 3, 14) | spread(b, 0, 9)];
}

void ColorGrid::evaluate(std::vector<std::uint32_t>& colors) const {
    if (colors.empty())
        return;
    std::ranges::sort(colors);
    const auto repeated = std::ranges::unique(colors);
    colors.erase(repeated.begin(), repeated.end());
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
        node(color >> 16, color >> 8 & 255, color & 255).store(value, std::memory_order_relaxed);
    }
}

void ColorGrid::store(std::uint64_t value, std::uint8_t* out) const {
    for (int c = 0; c < m_outChannels; ++c, value >>= 16)
        out[c] = static_cast<std::uint8_t>(((value & 0xffff) * 255 + 32895) >> 16);
}

void ColorGrid::convert(const void* in, std::uint8_t* out, std::size_t pixels) const {
    if (m_inBits == 16)
        convert16(static_cast<const std::uint16_t*>(in), out, pixels);
    else
        convert8(static_cast<const std::uint8_t*>(in), out, pixels);
}

void ColorGrid::convert8(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels) const {
    const auto channels = static_cast<std::size_t>(m_outChannels);
    std::vector<std::uint32_t> missing;
    std::vector<std::uint32_t> places;
    for (std::size_t i = 0; i < pixels; ++i) {
        const std::uint8_t* pixel = in + i * 3;
        const std::uint64_t value =
            node(pixel[0], pixel[1], pixel[2]).load(std::memory_order_relaxed);
        if (value == 0) {
            missing.push_back(packed(pixel[0], pixel[1], pixel[2]));
            places.push_back(static_cast<std::uint32_t>(i));
        } else {
            store(value, out + i * channels);
        }
    }
    evaluate(missing);
    for (const std::uint32_t i : places) {
        const std::uint8_t* pixel = in + std::size_t{i} * 3;
        store(node(pixel[0], pixel[1], pixel[2]).load(std::memory_order_relaxed),
              out + i * channels);
    }
}

// Sakamoto's tetrahedra: from the cell's low corner along the axes in the order of their fractions.
ColorGrid::Corners ColorGrid::cornersOf(const std::uint16_t* pixel) const {
    std::array<std::pair<std::uint32_t, std::uint32_t>, 3> steps; // fraction, step
    std::uint32_t color = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        const Position position = m_positions[c][pixel[c]];
        const int shift = 16 - 8 * static_cast<int>(c);
        color |= std::uint32_t{position.plane} << shift;
        steps[c] = {position.fraction, std::uint32_t{1} << shift};
    }
    if (steps[0].first < steps[1].first)
        std::swap(steps[0], steps[1]);
    if (steps[1].first < steps[2].first)
        std::swap(steps[1], steps[2]);
    if (steps[0].first < steps[1].first)
        std::swap(steps[0], steps[1]);
    Corners corners;
    std::uint32_t before = 65536;
    for (std::size_t i = 0; i < 3; ++i) {
        corners.colors[i] = color;
        corners.weights[i] = before - steps[i].first;
        before = steps[i].first;
        // Without a fraction the axis may be at its last plane.
        if (before > 0)
            color += steps[i].second;
    }
    corners.colors[3] = color;
    corners.weights[3] = before;
    return corners;
}

ColorGrid::Found ColorGrid::interpolate(const std::uint16_t* pixel, std::uint8_t* out) const {
    const Corners corners = cornersOf(pixel);
    // Two sums of 32 bits side by side in each: the weights add up to 65536, so that neither runs
    // over into the other.
    constexpr std::uint64_t lanes = 0x0000ffff0000ffff;
    std::uint64_t even = 0;
    std::uint64_t odd = 0;
    Samples lowest{};
    Samples highest{};
    for (std::size_t i = 0; i < 4; ++i) {
        const std::uint32_t color = corners.colors[i];
        const std::uint64_t value =
            node(color >> 16, color >> 8 & 255, color & 255).load(std::memory_order_relaxed);
        if (value == 0)
            return Found::missing;
        even += (value & lanes) * corners.weights[i];
        odd += (value >> 16 & lanes) * corners.weights[i];
        const auto samples = std::bit_cast<Samples>(value);
        lowest = i == 0 || samples < lowest ? samples : lowest;
        highest = i == 0 || samples > highest ? samples : highest;
    }
    store((even >> 16 & lanes) | (odd & ~lanes), out);
    const auto isSteep = std::bit_cast<std::uint64_t>(highest - lowest > steepest);
    return isSteep ? Found::steep : Found::interpolated;
}

void ColorGrid::convert16(const std::uint16_t* in, std::uint8_t* out, std::size_t pixels) const {
    const auto channels = static_cast<std::size_t>(m_outChannels);
    std::vector<std::uint32_t> late;
    std::vector<std::uint32_t> steep;
    std::vector<std::uint32_t> missing;
    for (std::size_t i = 0; i < pixels; ++i) {
        const Found found = interpolate(in + i * 3, out + i * channels);
        if (found == Found::steep)
            steep.push_back(static_cast<std::uint32_t>(i));
        if (found == Found::missing) {
            late.push_back(static_cast<std::uint32_t>(i));
            for (const std::uint32_t color : cornersOf(in + i * 3).colors)
                if (node(color >> 16, color >> 8 & 255, color & 255)
                        .load(std::memory_order_relaxed) == 0)
                    missing.push_back(color);
        }
    }
    evaluate(missing);
    for (const std::uint32_t i : late)
        if (interpolate(in + std::size_t{i} * 3, out + i * channels) == Found::steep)
            steep.push_back(i);
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
