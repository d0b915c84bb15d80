#include "decoder/ColorTransform.h"

namespace lumivert::decoder {
namespace {

// No cache: it would be shared by threads, and photos rarely repeat a pixel.
constexpr cmsUInt32Number baseFlags = cmsFLAGS_NOCACHE | cmsFLAGS_HIGHRESPRECALC;

cmsUInt32Number pixelType(const PixelLayout& layout) {
    if (layout.isLab)
        return TYPE_Lab_FLT;
    const cmsUInt32Number space = layout.channels == 1   ? PT_GRAY
                                  : layout.channels == 3 ? PT_RGB
                                                         : PT_CMYK;
    return COLORSPACE_SH(space) | CHANNELS_SH(static_cast<cmsUInt32Number>(layout.channels)) |
           BYTES_SH(static_cast<cmsUInt32Number>(layout.bits / 8));
}

cmsUInt32Number blackPoint(std::uint32_t intent) {
    return intent == INTENT_ABSOLUTE_COLORIMETRIC ? 0 : cmsFLAGS_BLACKPOINTCOMPENSATION;
}

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

ColorTransform::ColorTransform(cmsHTRANSFORM handle, PixelLayout out)
    : m_handle(handle, &cmsDeleteTransform)
    , m_out(out) {}

std::shared_ptr<const ColorTransform> ColorTransform::create(const Profile& from, PixelLayout in,
                                                             const Profile& to, PixelLayout out,
                                                             std::uint32_t intent) {
    if (!from || !to)
        return nullptr;
    cmsHTRANSFORM handle = cmsCreateTransform(from.get(), pixelType(in), to.get(), pixelType(out),
                                              intent, baseFlags | blackPoint(intent));
    if (!handle)
        return nullptr;
    return std::shared_ptr<const ColorTransform>(new ColorTransform(handle, out));
}

std::shared_ptr<const ColorTransform> ColorTransform::createProof(const Profile& from,
                                                                  PixelLayout in,
                                                                  const Profile& paper,
                                                                  std::uint32_t intent) {
    const Profile screen = srgbProfile();
    if (!from || !paper || !screen)
        return nullptr;
    const PixelLayout out{3, 8};
    cmsHTRANSFORM handle = cmsCreateProofingTransform(
        from.get(), pixelType(in), screen.get(), pixelType(out), paper.get(), intent,
        INTENT_RELATIVE_COLORIMETRIC, baseFlags | cmsFLAGS_SOFTPROOFING | blackPoint(intent));
    if (!handle)
        return nullptr;
    return std::shared_ptr<const ColorTransform>(new ColorTransform(handle, out));
}

void ColorTransform::convert(const void* in, void* out, std::size_t pixels) const {
    cmsDoTransform(m_handle.get(), in, out, static_cast<cmsUInt32Number>(pixels));
}

vips::VImage ColorTransform::apply(std::shared_ptr<const ColorTransform> transform,
                                   const vips::VImage& image) {
    const PixelLayout layout = transform->m_out;
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
