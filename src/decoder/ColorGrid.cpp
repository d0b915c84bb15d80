#include "decoder/ColorGrid.h"

#include "decoder/GridMeasure.h"

#include <array>
#include <atomic>
#include <bit>
#include <random>
#include <vector>

namespace lumivert::decoder {
namespace {

// Cells that are measured to judge a conversion by, and how many of them may be rough: at most 20
// are with tables that a profiling program makes, 35 to 59 with one that jumps from point to point.
constexpr int trials = 64;
constexpr int mostRough = 25;

// Of curves that are tables: Little CMS takes them in whole 65535ths.
LightOfPlanes lightOfPlanes(cmsHPROFILE profile) {
    constexpr std::array curves{cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    LightOfPlanes result{};
    if (!cmsIsMatrixShaper(profile) || cmsIsTag(profile, cmsSigAToB0Tag))
        return result;
    for (std::size_t c = 0; c < 3; ++c) {
        const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(profile, curves[c]));
        if (curve && cmsGetToneCurveParametricType(curve) == 0 &&
            !cmsIsToneCurveMultisegment(curve))
            for (std::size_t plane = 0; plane <= fineSteps; ++plane)
                result[c][plane] = cmsEvalToneCurve16(
                    curve, static_cast<cmsUInt16Number>(plane * sideOf<fineSteps>));
    }
    return result;
}

class ColorGrid {
public:
    explicit ColorGrid(const ColorRoute& route)
        : m_points(exactConversion(route, 16, 16), channelsOf(route.to))
        , m_measure(m_points, lightOfPlanes(route.from.get()))
        , m_fine(untouched<State>())
        , m_coarse(std::size_t{coarseSteps + 1} * (coarseSteps + 1) * (coarseSteps + 1)) {}

    // Whether it is worth the measuring.
    [[nodiscard]] bool isMostlySmooth() const {
        std::minstd_rand random;
        int rough = 0;
        for (int i = 0; i < trials; ++i)
            rough += m_measure.roughInFine(random() & 0xffffff) != 0;
        return rough <= mostRough;
    }

    template <std::size_t channels>
    void convert(const std::uint16_t* in, std::uint8_t* out, std::size_t pixels) const {
        // Of 255, rounded, two channels side by side.
        const auto narrowed = [](std::uint64_t values) {
            return ((values & 0x0000ffff0000ffff) * 255 + 0x0000807f0000807f) >> 16 &
                   0x000000ff000000ff;
        };
        for (std::size_t i = 0; i < pixels; ++i, in += 3) {
            const std::uint64_t value = valueOf(in);
            const std::uint64_t pairs = narrowed(value) | narrowed(value >> 16) << 8;
            auto bytes = static_cast<std::uint32_t>(pairs | pairs >> 16);
            for (std::size_t c = 0; c < channels; ++c, bytes >>= 8)
                *out++ = static_cast<std::uint8_t>(bytes);
        }
    }

private:
    // The rough tetrahedra of a cell, and a bit more when it was measured.
    using State = std::atomic<Tetrahedra>;
    static constexpr Tetrahedra measured = 1 << 3;

    static bool isSmooth(State& state, std::size_t order, auto measure) {
        Tetrahedra kept = state.load(std::memory_order_acquire);
        if (kept == 0) [[unlikely]]
            state.store(kept = measure() | measured, std::memory_order_release);
        return (kept >> order & 1) == 0;
    }

    [[gnu::always_inline]] std::uint64_t valueOf(const std::uint16_t* pixel) const {
        const Position coarse = positionOf<coarseSteps>(pixel);
        if (isSmooth(m_coarse[coarse.cell], coarse.order(),
                     [&] { return m_measure.roughInCoarse(coarse.cell); }))
            return m_points.between<coarseSteps>(coarse);
        const Position fine = positionOf<fineSteps>(pixel);
        State& state = m_fine[placeOf(fine.cell >> 16, fine.cell >> 8 & 255, fine.cell & 255)];
        return isSmooth(state, fine.order(), [&] { return m_measure.roughInFine(fine.cell); })
                   ? m_points.between<fineSteps>(fine)
                   : m_points.exactly(pixel);
    }

    GridPoints m_points;
    GridMeasure m_measure;
    std::shared_ptr<State[]> m_fine;
    mutable std::vector<State> m_coarse;
};

template <std::size_t channels>
Convert through(const std::shared_ptr<const ColorGrid>& grid) {
    return [grid](const void* in, void* out, std::size_t pixels) {
        grid->convert<channels>(static_cast<const std::uint16_t*>(in),
                                static_cast<std::uint8_t*>(out), pixels);
    };
}

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

Convert colorGrid(const ColorRoute& route) {
    const auto grid = std::make_shared<const ColorGrid>(route);
    if (!grid->isMostlySmooth())
        return {};
    const int channels = channelsOf(route.to);
    return channels == 1 ? through<1>(grid) : channels == 3 ? through<3>(grid) : through<4>(grid);
}

} // namespace lumivert::decoder
