#include "decoder/PlainPhotos.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <libheif/heif.h>
#include <memory>
#include <ostream>

namespace lumivert::decoder::test {

using vips::VImage;

vips::VOption* options() {
    return VImage::option();
}

std::optional<std::string> avifStating(int primaries, int transfer, int grey) {
    const std::unique_ptr<heif_context, decltype(&heif_context_free)> context(heif_context_alloc(),
                                                                              &heif_context_free);
    heif_encoder* encoder = nullptr;
    if (heif_context_get_encoder_for_format(context.get(), heif_compression_AV1, &encoder).code !=
        0)
        return std::nullopt;
    const std::unique_ptr<heif_encoder, decltype(&heif_encoder_release)> releases(
        encoder, &heif_encoder_release);
    heif_image* made = nullptr;
    heif_image_create(64, 64, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &made);
    const std::unique_ptr<heif_image, decltype(&heif_image_release)> image(made,
                                                                           &heif_image_release);
    heif_image_add_plane(made, heif_channel_interleaved, 64, 64, 8);
    int stride = 0;
    std::uint8_t* const plane = heif_image_get_plane(made, heif_channel_interleaved, &stride);
    std::fill_n(plane, 64 * stride, static_cast<std::uint8_t>(grey));
    const std::unique_ptr<heif_color_profile_nclx, decltype(&heif_nclx_color_profile_free)> nclx(
        heif_nclx_color_profile_alloc(), &heif_nclx_color_profile_free);
    nclx->color_primaries = static_cast<heif_color_primaries>(primaries);
    nclx->transfer_characteristics = static_cast<heif_transfer_characteristics>(transfer);
    nclx->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_2020_2_non_constant_luminance;
    nclx->full_range_flag = 1;
    heif_image_set_nclx_color_profile(made, nclx.get());
    const std::unique_ptr<heif_encoding_options, decltype(&heif_encoding_options_free)> options(
        heif_encoding_options_alloc(), &heif_encoding_options_free);
    options->output_nclx_profile = nclx.get();
    heif_encoder_set_lossy_quality(encoder, 95);
    if (heif_context_encode_image(context.get(), made, encoder, options.get(), nullptr).code != 0)
        return std::nullopt;
    std::string file;
    heif_writer writer{1, [](heif_context*, const void* data, std::size_t size, void* to) {
                           static_cast<std::string*>(to)->assign(static_cast<const char*>(data),
                                                                 size);
                           return heif_error{};
                       }};
    heif_context_write(context.get(), &writer, &file);
    return file;
}

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    stream << outcome.channels << " channels of " << outcome.bits << " bits:";
    for (const int sample : outcome.pixel)
        stream << " " << sample;
    return stream;
}

Outcome outcome(const std::string& file, int x, int y) {
    const auto rows = readRows(file);
    if (!rows)
        return {};
    Outcome result{rows->channels, rows->bits, {}};
    for (int c = 0; c < rows->channels; ++c)
        result.pixel.push_back(rows->at(x, y, c));
    return result;
}

void expectNear(const Outcome& got, const Outcome& expected, int tolerance) {
    ASSERT_EQ(got.channels, expected.channels);
    EXPECT_EQ(got.bits, expected.bits);
    for (std::size_t c = 0; c < expected.pixel.size(); ++c)
        EXPECT_NEAR(got.pixel[c], expected.pixel[c], tolerance) << c;
}

VImage plain16(const Pixel& pixel) {
    return image16(small, static_cast<int>(pixel.size()),
                   [&](int, int, int band) { return pixel[static_cast<std::size_t>(band)]; });
}

VImage plainFloat(const std::vector<double>& pixel, VipsInterpretation meaning) {
    return VImage::black(small.width, small.height)
        .cast(VIPS_FORMAT_FLOAT)
        .new_from_image(pixel)
        .copy(options()->set("interpretation", meaning));
}

VImage plainCmyk(const Pixel& inks) {
    return plain8(small, inks).copy(options()->set("interpretation", VIPS_INTERPRETATION_CMYK));
}

VImage tagged(VImage image, const Bytes& profile) {
    image = image.copy();
    image.set("icc-profile-data", nullptr, const_cast<std::byte*>(profile.data()), profile.size());
    return image;
}

std::optional<std::string> heif(VipsForeignHeifCompression compression) {
    try {
        return saved(plain8({64, 64}, {200, 60, 40}), ".heic",
                     options()->set("compression", compression)->set("Q", 95));
    } catch (const vips::VError&) {
        return std::nullopt;
    }
}

} // namespace lumivert::decoder::test
