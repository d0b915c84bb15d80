#include "decoder/ColorTransform.h"

#include "decoder/ColorGrid.h"
#include "decoder/MatrixShaper.h"

#include <atomic>
#include <cstring>
#include <vector>

namespace lumivert::decoder {
namespace {

class FromRgb : public ColorTransform {
public:
    FromRgb(std::unique_ptr<const ExactTransform> exact, const Profile& from, int inBits,
            int outChannels)
        : m_grid(std::move(exact), from, inBits, outChannels) {}

    void convert(const void* in, void* out, std::size_t pixels) const override {
        m_grid.convert(in, static_cast<std::uint8_t*>(out), pixels);
    }

private:
    ColorGrid m_grid;
};

class BetweenMatrices : public ColorTransform {
public:
    explicit BetweenMatrices(std::unique_ptr<const MatrixShaper> shaper)
        : m_shaper(std::move(shaper)) {}

    void convert(const void* in, void* out, std::size_t pixels) const override {
        m_shaper->convert(in, static_cast<std::uint8_t*>(out), pixels);
    }

private:
    std::unique_ptr<const MatrixShaper> m_shaper;
};

// Every grey there is, converted beforehand.
class FromGrey : public ColorTransform {
public:
    FromGrey(const ExactTransform& exact, int inBits, int outChannels)
        : m_inBits(inBits)
        , m_outChannels(static_cast<std::size_t>(outChannels)) {
        const std::size_t count = std::size_t{1} << inBits;
        m_table.resize(count * m_outChannels);
        if (inBits == 16) {
            std::vector<std::uint16_t> greys(count);
            for (std::size_t i = 0; i < count; ++i)
                greys[i] = static_cast<std::uint16_t>(i);
            exact.convert(greys.data(), m_table.data(), count);
        } else {
            std::vector<std::uint8_t> greys(count);
            for (std::size_t i = 0; i < count; ++i)
                greys[i] = static_cast<std::uint8_t>(i);
            exact.convert(greys.data(), m_table.data(), count);
        }
    }

    void convert(const void* in, void* out, std::size_t pixels) const override {
        auto* to = static_cast<std::uint8_t*>(out);
        for (std::size_t i = 0; i < pixels; ++i, to += m_outChannels) {
            const std::size_t grey = m_inBits == 16 ? static_cast<const std::uint16_t*>(in)[i]
                                                    : static_cast<const std::uint8_t*>(in)[i];
            std::memcpy(to, m_table.data() + grey * m_outChannels, m_outChannels);
        }
    }

private:
    int m_inBits;
    std::size_t m_outChannels;
    std::vector<std::uint8_t> m_table;
};

// Remembers the colours that came by: inks in the upper half of an entry, result in the lower.
class FromCmyk : public ColorTransform {
public:
    FromCmyk(std::unique_ptr<const ExactTransform> exact, int outChannels)
        : m_exact(std::move(exact))
        , m_outChannels(static_cast<std::size_t>(outChannels))
        , m_entries(std::size_t{1} << entryBits) {
        // An entry of 0 would claim that no ink at all comes out as 0.
        remember(0, evaluated(0));
    }

    void convert(const void* in, void* out, std::size_t pixels) const override {
        const auto* from = static_cast<const std::uint8_t*>(in);
        auto* to = static_cast<std::uint8_t*>(out);
        for (std::size_t i = 0; i < pixels; ++i, from += 4, to += m_outChannels) {
            std::uint32_t inks = 0;
            std::memcpy(&inks, from, sizeof inks);
            const std::uint64_t entry = m_entries[slot(inks)].load(std::memory_order_relaxed);
            auto result = static_cast<std::uint32_t>(entry);
            if (entry >> 32 != inks) {
                result = evaluated(inks);
                remember(inks, result);
            }
            std::memcpy(to, &result, m_outChannels);
        }
    }

private:
    static constexpr int entryBits = 20;

    static std::size_t slot(std::uint32_t inks) {
        return inks * 2654435761u >> (32 - entryBits); // Knuth's multiplicative hash
    }
    std::uint32_t evaluated(std::uint32_t inks) const {
        std::uint32_t result = 0;
        m_exact->convert(&inks, &result, 1);
        return result;
    }
    void remember(std::uint32_t inks, std::uint32_t result) const {
        m_entries[slot(inks)].store(std::uint64_t{inks} << 32 | result, std::memory_order_relaxed);
    }

    std::unique_ptr<const ExactTransform> m_exact;
    std::size_t m_outChannels;
    mutable std::vector<std::atomic<std::uint64_t>> m_entries;
};

class Straight : public ColorTransform {
public:
    explicit Straight(std::unique_ptr<const ExactTransform> exact)
        : m_exact(std::move(exact)) {}

    void convert(const void* in, void* out, std::size_t pixels) const override {
        m_exact->convert(in, out, pixels);
    }

private:
    std::unique_ptr<const ExactTransform> m_exact;
};

struct Held {
    std::shared_ptr<const ColorTransform> transform;
    VipsImage* in;
};

int generate(VipsRegion* out, void* sequence, void*, void* held, gboolean*) {
    auto* in = static_cast<VipsRegion*>(sequence);
    const VipsRect area = out->valid;
    if (vips_region_prepare(in, &area) != 0)
        return -1;
    const auto& transform = *static_cast<const Held*>(held)->transform;
    for (int y = 0; y < area.height; ++y)
        transform.convert(VIPS_REGION_ADDR(in, area.left, area.top + y),
                          VIPS_REGION_ADDR(out, area.left, area.top + y),
                          static_cast<std::size_t>(area.width));
    return 0;
}

void release(VipsImage*, void* held) {
    auto* owned = static_cast<Held*>(held);
    g_object_unref(owned->in);
    delete owned;
}

} // namespace

std::shared_ptr<const ColorTransform> ColorTransform::create(const ColorRoute& route,
                                                             PixelLayout in, PixelLayout out) {
    if (!in.isLab && out.bits == 8 && in.channels == 3) {
        auto exact = ExactTransform::create(route, {3, 16}, {out.channels, 16});
        if (!exact)
            return nullptr;
        if (!route.paper)
            if (auto shaper = MatrixShaper::create(*exact, *route.from, *route.to, in.bits))
                return std::make_shared<BetweenMatrices>(std::move(shaper));
        return std::make_shared<FromRgb>(std::move(exact), *route.from, in.bits, out.channels);
    }
    auto exact = ExactTransform::create(route, in, out);
    if (!exact)
        return nullptr;
    if (!in.isLab && out.bits == 8 && in.channels == 1)
        return std::make_shared<FromGrey>(*exact, in.bits, out.channels);
    if (!in.isLab && out.bits == 8 && in.channels == 4 && in.bits == 8)
        return std::make_shared<FromCmyk>(std::move(exact), out.channels);
    return std::make_shared<Straight>(std::move(exact));
}

vips::VImage ColorTransform::apply(std::shared_ptr<const ColorTransform> transform,
                                   PixelLayout layout, const vips::VImage& image) {
    VipsImage* out = vips_image_new();
    vips::VImage result(out);
    VipsImage* in = image.get_image();
    if (vips_image_pipelinev(out, VIPS_DEMAND_STYLE_THINSTRIP, in, nullptr) != 0)
        throw vips::VError();
    out->Bands = layout.channels;
    out->BandFmt = layout.bits == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR;
    out->Coding = VIPS_CODING_NONE;
    out->Type = layout.channels == 1   ? VIPS_INTERPRETATION_B_W
                : layout.channels == 4 ? VIPS_INTERPRETATION_CMYK
                                       : VIPS_INTERPRETATION_sRGB;
    g_object_ref(in);
    auto* held = new Held{std::move(transform), in};
    g_signal_connect(out, "postclose", G_CALLBACK(release), held);
    if (vips_image_generate(out, vips_start_one, generate, vips_stop_one, in, held) != 0)
        throw vips::VError();
    return result;
}

} // namespace lumivert::decoder
