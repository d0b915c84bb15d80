#include "decoder/ColorTransform.h"

#include "decoder/ColorGrid.h"
#include "decoder/Strips.h"

#include <atomic>
#include <cstring>
#include <utility>
#include <vector>

namespace lumivert::decoder {
namespace {

using Transform = std::unique_ptr<const ColorTransform>;

class Exact : public ColorTransform {
public:
    explicit Exact(cmsHTRANSFORM handle)
        : m_handle(handle, &cmsDeleteTransform) {}

    void convert(const void* in, void* out, std::size_t pixels) const override {
        cmsDoTransform(m_handle.get(), in, out, static_cast<cmsUInt32Number>(pixels));
    }

private:
    std::unique_ptr<void, void (*)(cmsHTRANSFORM)> m_handle;
};

// Every grey there is, converted beforehand; `exact` takes 16 bits.
class FromGrey : public ColorTransform {
public:
    FromGrey(const ColorTransform& exact, int inBits, int outChannels)
        : m_inBits(inBits)
        , m_outChannels(static_cast<std::size_t>(outChannels)) {
        std::vector<std::uint16_t> greys(std::size_t{1} << inBits);
        for (std::size_t i = 0; i < greys.size(); ++i)
            greys[i] = static_cast<std::uint16_t>(inBits == 8 ? i * 257 : i);
        m_table.resize(greys.size() * m_outChannels);
        exact.convert(greys.data(), m_table.data(), greys.size());
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
    FromCmyk(Transform exact, int outChannels)
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

    Transform m_exact;
    std::size_t m_outChannels;
    mutable std::vector<std::atomic<std::uint64_t>> m_entries;
};

int generate(VipsRegion* out, void* sequence, void*, void* transform, gboolean*) {
    auto* in = static_cast<VipsRegion*>(sequence);
    const VipsRect area = out->valid;
    if (vips_region_prepare(in, &area) != 0)
        return -1;
    for (int y = 0; y < area.height; ++y)
        static_cast<const ColorTransform*>(transform)->convert(
            VIPS_REGION_ADDR(in, area.left, area.top + y),
            VIPS_REGION_ADDR(out, area.left, area.top + y), static_cast<std::size_t>(area.width));
    return 0;
}

} // namespace

Transform ColorTransform::createExact(const ColorRoute& route, PixelLayout in, PixelLayout out) {
    const auto format = [](const Profile& profile, PixelLayout layout) {
        const bool fits = profile && cmsChannelsOf(cmsGetColorSpace(profile.get())) ==
                                         static_cast<cmsUInt32Number>(layout.channels);
        const auto bytes = static_cast<cmsUInt32Number>(layout.bits / 8);
        return fits ? cmsFormatterForColorspaceOfProfile(profile.get(), bytes, FALSE) : 0;
    };
    const cmsUInt32Number from = format(*route.from, in);
    const cmsUInt32Number to = format(*route.to, out);
    if (from == 0 || to == 0 || (route.paper && !*route.paper))
        return nullptr;
    // No cache either: threads would share it.
    cmsUInt32Number flags = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;
    if (route.intent != INTENT_ABSOLUTE_COLORIMETRIC)
        flags |= cmsFLAGS_BLACKPOINTCOMPENSATION;
    cmsHTRANSFORM handle =
        route.paper
            ? cmsCreateProofingTransform(
                  route.from->get(), from, route.to->get(), to, route.paper->get(), route.intent,
                  INTENT_RELATIVE_COLORIMETRIC, flags | cmsFLAGS_SOFTPROOFING)
            : cmsCreateTransform(route.from->get(), from, route.to->get(), to, route.intent, flags);
    return handle ? std::make_unique<const Exact>(handle) : nullptr;
}

Transform ColorTransform::create(const ColorRoute& route, PixelLayout in, PixelLayout out) {
    if (out.bits != 8 || (in.channels == 4 && in.bits == 16))
        return createExact(route, in, out);
    auto exact = createExact(route, {in.channels, in.channels == 4 ? 8 : 16},
                             {out.channels, in.channels == 3 ? 16 : 8});
    if (!exact)
        return nullptr;
    if (in.channels == 1)
        return std::make_unique<const FromGrey>(*exact, in.bits, out.channels);
    if (in.channels == 4)
        return std::make_unique<const FromCmyk>(std::move(exact), out.channels);
    return std::make_unique<const ColorGrid>(std::move(exact), *route.from, in.bits, out.channels);
}

vips::VImage ColorTransform::apply(Transform transform, PixelLayout layout,
                                   const vips::VImage& image) {
    struct Used {
        Transform transform;
        vips::VImage source;
    };
    VipsImage* out = vips_image_new();
    VipsImage* in = image.get_image();
    auto* converting = const_cast<ColorTransform*>(transform.get());
    // Let go when the image is finalised, after the last region of it.
    const vips::VImage result =
        holding(vips::VImage(out), std::make_shared<Used>(Used{std::move(transform), image}));
    if (vips_image_pipelinev(out, VIPS_DEMAND_STYLE_THINSTRIP, in, nullptr) != 0)
        throw vips::VError();
    out->Bands = layout.channels;
    out->BandFmt = layout.bits == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR;
    if (vips_image_generate(out, vips_start_one, generate, vips_stop_one, in, converting) != 0)
        throw vips::VError();
    return result;
}

} // namespace lumivert::decoder
