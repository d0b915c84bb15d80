#include "decoder/HeifPhotos.h"

#include "decoder/Containers.h"
#include "decoder/TestPhotos.h"
#include "files/TiffWriter.h"

#include <algorithm>
#include <aom/aom_encoder.h>
#include <aom/aomcx.h>
#include <cmath>
#include <libheif/heif.h>
#include <memory>
#include <vector>

namespace lumivert::decoder::test {
namespace {

std::string number(std::uint64_t value, int size) {
    return lumivert::test::TiffWriter(false).number(value, size);
}

std::string box(const std::string& type, const std::string& content) {
    return number(content.size() + 8, 4) + type + content;
}

// With a version and flags.
std::string fullBox(const std::string& type, int version, int flags, const std::string& content) {
    return box(type, number(static_cast<std::uint64_t>(version << 24 | flags), 4) + content);
}

// BT.2020's matrix of non-constant luminance, as samples.
std::array<int, 3> samplesOf(const HeifPhoto& photo, int x, int y) {
    const auto [red, green, blue] = photo.color(x, y);
    const double luma = 0.2627 * red + 0.6780 * green + 0.0593 * blue;
    const std::array values{luma, (blue - luma) / 1.8814, (red - luma) / 1.4746};
    const double most = std::pow(2, photo.bits) - 1;
    const double unit = std::pow(2, photo.bits - 8);
    std::array<int, 3> samples{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double middle = i == 0 ? 0 : 128 * unit;
        const double sample = photo.isFullRange ? values[i] * most + middle
                              : i == 0          ? values[i] * 219 * unit + 16 * unit
                                                : values[i] * 224 * unit + middle;
        samples[i] = static_cast<int>(std::lround(std::clamp(sample, 0.0, most)));
    }
    return samples;
}

// A plane of Y, Cb or Cr.
void fill(std::uint8_t* plane, int stride, std::size_t channel, const HeifPhoto& photo) {
    const int step = channel == 0 ? 1 : 2;
    for (int y = 0; y < photo.size.height / step; ++y)
        for (int x = 0; x < photo.size.width / step; ++x) {
            const int sample = samplesOf(photo, x * step, y * step)[channel];
            std::uint8_t* const row = plane + std::ptrdiff_t{stride} * y;
            if (photo.bits == 8)
                row[x] = static_cast<std::uint8_t>(sample);
            else
                reinterpret_cast<std::uint16_t*>(row)[x] = static_cast<std::uint16_t>(sample);
        }
}

// A picture's data, and the box that says how it is coded.
struct Coded {
    std::string configuration;
    std::string data;
};

// By AV1's own library: libheif's way to it fails for 10 bits.
std::optional<Coded> codedAv1(const HeifPhoto& photo) {
    const auto width = static_cast<unsigned>(photo.size.width);
    const auto height = static_cast<unsigned>(photo.size.height);
    aom_codec_iface_t* const coder = aom_codec_av1_cx();
    aom_codec_enc_cfg_t configuration{};
    aom_codec_enc_config_default(coder, &configuration, AOM_USAGE_GOOD_QUALITY);
    configuration.g_w = width;
    configuration.g_h = height;
    configuration.g_profile = photo.bits == 12 ? 2 : 0;
    configuration.g_bit_depth = static_cast<aom_bit_depth_t>(photo.bits);
    configuration.g_input_bit_depth = static_cast<unsigned>(photo.bits);
    configuration.g_lag_in_frames = 0;
    configuration.rc_end_usage = AOM_Q;
    aom_codec_ctx_t context{};
    if (aom_codec_enc_init(&context, coder, &configuration,
                           photo.bits > 8 ? AOM_CODEC_USE_HIGHBITDEPTH : 0) != AOM_CODEC_OK)
        return std::nullopt;
    const std::unique_ptr<aom_codec_ctx_t, decltype(&aom_codec_destroy)> ends(&context,
                                                                              &aom_codec_destroy);
    aom_codec_control(&context, AV1E_SET_LOSSLESS, 1U);
    aom_codec_control(&context, AV1E_SET_COLOR_RANGE, photo.isFullRange ? 1 : 0);
    const std::unique_ptr<aom_image_t, decltype(&aom_img_free)> image(
        aom_img_alloc(nullptr, photo.bits > 8 ? AOM_IMG_FMT_I42016 : AOM_IMG_FMT_I420, width,
                      height, 1),
        &aom_img_free);
    for (std::size_t i = 0; i < 3; ++i)
        fill(image->planes[i], image->stride[i], i, photo);
    Coded result;
    for (const aom_image_t* frame : {image.get(), static_cast<aom_image_t*>(nullptr)}) {
        if (aom_codec_encode(&context, frame, 0, 1, 0) != AOM_CODEC_OK)
            return std::nullopt;
        aom_codec_iter_t next = nullptr;
        while (const aom_codec_cx_pkt_t* packet = aom_codec_get_cx_data(&context, &next))
            if (packet->kind == AOM_CODEC_CX_FRAME_PKT)
                result.data.append(static_cast<const char*>(packet->data.frame.buf),
                                   packet->data.frame.sz);
    }
    result.data.erase(0, 2); // the temporal delimiter
    // AV1 in ISOBMFF, 2.3.3: profile, level, depth, 4:2:0.
    const std::array flags{0x81, photo.bits == 12 ? 0x40 : 0,
                           photo.bits == 12   ? 0x6c
                           : photo.bits == 10 ? 0x4c
                                              : 0x0c,
                           0};
    std::string content;
    for (const int flag : flags)
        content += static_cast<char>(flag);
    result.configuration = box("av1C", content);
    return result;
}

std::optional<Coded> codedHevc(const HeifPhoto& photo) {
    const std::unique_ptr<heif_context, decltype(&heif_context_free)> context(heif_context_alloc(),
                                                                              &heif_context_free);
    heif_encoder* found = nullptr;
    if (heif_context_get_encoder_for_format(context.get(), heif_compression_HEVC, &found).code !=
        heif_error_Ok)
        return std::nullopt;
    const std::unique_ptr<heif_encoder, decltype(&heif_encoder_release)> encoder(
        found, &heif_encoder_release);
    heif_encoder_set_lossy_quality(encoder.get(), 100);
    heif_image* made = nullptr;
    heif_image_create(photo.size.width, photo.size.height, heif_colorspace_YCbCr, heif_chroma_420,
                      &made);
    const std::unique_ptr<heif_image, decltype(&heif_image_release)> image(made,
                                                                           &heif_image_release);
    for (const auto channel : {heif_channel_Y, heif_channel_Cb, heif_channel_Cr}) {
        const int step = channel == heif_channel_Y ? 1 : 2;
        heif_image_add_plane(made, channel, photo.size.width / step, photo.size.height / step,
                             photo.bits);
        int stride = 0;
        std::uint8_t* const plane = heif_image_get_plane(made, channel, &stride);
        fill(plane, stride, static_cast<std::size_t>(channel), photo);
    }
    const std::unique_ptr<heif_color_profile_nclx, decltype(&heif_nclx_color_profile_free)> nclx(
        heif_nclx_color_profile_alloc(), &heif_nclx_color_profile_free);
    nclx->color_primaries = static_cast<heif_color_primaries>(photo.primaries);
    nclx->transfer_characteristics = static_cast<heif_transfer_characteristics>(photo.transfer);
    nclx->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_2020_2_non_constant_luminance;
    nclx->full_range_flag = photo.isFullRange ? 1 : 0;
    heif_image_set_nclx_color_profile(made, nclx.get());
    if (heif_context_encode_image(context.get(), made, encoder.get(), nullptr, nullptr).code !=
        heif_error_Ok)
        return std::nullopt;
    std::string file;
    heif_writer writer{1, [](heif_context*, const void* data, std::size_t size, void* to) {
                           static_cast<std::string*>(to)->assign(static_cast<const char*>(data),
                                                                 size);
                           return heif_error{};
                       }};
    heif_context_write(context.get(), &writer, &file);

    // The only picture's data fill the box of data.
    Coded result;
    for (const Block& outer : isoBoxes(asBytes(file))) {
        if (outer.name == "mdat")
            result.data = asText(outer.content);
        if (outer.name != "meta")
            continue;
        for (const Block& block : isoBoxes(part(outer.content, 4)))
            for (const Block& properties :
                 block.name == "iprp" ? isoBoxes(block.content) : std::vector<Block>())
                for (const Block& property : isoBoxes(properties.content))
                    if (property.name == "hvcC")
                        result.configuration =
                            box(std::string(property.name), std::string(asText(property.content)));
    }
    return result;
}

std::optional<Coded> coded(const HeifPhoto& photo) {
    return photo.isAv1 ? codedAv1(photo) : codedHevc(photo);
}

std::string nclxBox(const HeifPhoto& photo) {
    return box("colr", "nclx" + number(static_cast<std::uint64_t>(photo.primaries), 2) +
                           number(static_cast<std::uint64_t>(photo.transfer), 2) + number(9, 2) +
                           number(photo.isFullRange ? 0x80 : 0, 1));
}

} // namespace

std::string gainMapMetadata() {
    std::string result = number(0, 4) + number(0, 1); // versions, flags
    // Fractions: the headroom of both pictures; the gain from and to, its gamma, both offsets.
    for (const std::uint64_t value : {0, 1, 2, 1, 0, 1, 2, 1, 1, 1, 1, 64, 1, 64})
        result += number(value, 4);
    return result;
}

std::optional<std::string> HeifPhoto::bytes() const {
    const auto picture = coded(*this);
    HeifPhoto map;
    map.isAv1 = isAv1;
    map.bits = 8;
    map.color = [](int, int) { return std::array{1.0, 1.0, 1.0}; };
    const auto gains = gainMap == none ? picture : coded(map);
    if (!picture || !gains)
        return std::nullopt;

    // 1 is the photo, 2 the gain map, 3 the two of them made one.
    struct Item {
        std::string type;
        bool isHidden;
        std::string data;
        std::vector<std::string> properties;
    };
    const std::string type = isAv1 ? "av01" : "hvc1";
    const auto sizeBox = [](PixelSize of) {
        return fullBox("ispe", 0, 0,
                       number(static_cast<std::uint64_t>(of.width), 4) +
                           number(static_cast<std::uint64_t>(of.height), 4));
    };
    const std::string whole = sizeBox(size);
    std::vector<Item> items{
        {type, false, picture->data, {whole, picture->configuration, nclxBox(*this)}}};
    if (!profile.empty())
        items[0].properties.push_back(box("colr", "prof" + std::string(asText(profile))));
    for (const auto& [name, value] : turns)
        items[0].properties.push_back(box(name, number(value, 1)));
    std::string references;
    std::string groups;
    if (gainMap != none)
        items.push_back({type, true, gains->data, {sizeBox(map.size), gains->configuration}});
    if (gainMap == auxiliary) {
        items[1].properties.push_back(
            fullBox("auxC", 0, 0, std::string("urn:example:aux:gainmap\0", 24)));
        references = box("auxl", number(2, 2) + number(1, 2) + number(1, 2));
    } else if (gainMap == toneMap) {
        items.push_back({"tmap", false, number(0, 1) + gainMapMetadata(), {whole, nclxBox(*this)}});
        references = box("dimg", number(3, 2) + number(2, 2) + number(1, 2) + number(2, 2));
        groups = box("grpl", fullBox("altr", 0, 0,
                                     number(9, 4) + number(2, 4) + number(3, 4) + number(1, 4)));
    }

    if (!exif.empty()) {
        items.push_back({"Exif", true, number(6, 4) + std::string("Exif\0\0", 6) + exif, {}});
        references += box("cdsc", number(items.size(), 2) + number(1, 2) + number(1, 2));
    }

    const auto metaAt = [&](std::size_t dataAt) {
        std::string infos;
        std::string properties;
        std::string associations;
        std::string locations;
        std::uint64_t property = 0;
        for (std::size_t i = 0; i < items.size(); ++i) {
            const Item& item = items[i];
            const std::string id = number(i + 1, 2);
            infos += fullBox("infe", 2, item.isHidden ? 1 : 0,
                             id + number(0, 2) + item.type + std::string(1, '\0'));
            associations += id + number(item.properties.size(), 1);
            for (const std::string& content : item.properties) {
                properties += content;
                const std::string name = content.substr(4, 4);
                const bool isEssential =
                    name == "irot" || name == "imir" || name == "hvcC" || name == "av1C";
                associations += number(++property | (isEssential ? 0x80 : 0), 1);
            }
            locations +=
                id + number(0, 2) + number(1, 2) + number(dataAt, 4) + number(item.data.size(), 4);
            dataAt += item.data.size();
        }
        const std::string count = number(items.size(), 2);
        return fullBox(
            "meta", 0, 0,
            fullBox("hdlr", 0, 0, number(0, 4) + "pict" + std::string(13, '\0')) +
                fullBox("pitm", 0, 0, number(1, 2)) + fullBox("iinf", 0, 0, count + infos) +
                (references.empty() ? "" : fullBox("iref", 0, 0, references)) +
                box("iprp", box("ipco", properties) +
                                fullBox("ipma", 0, 0, number(items.size(), 4) + associations)) +
                fullBox("iloc", 0, 0, number(0x4400, 2) + count + locations) + groups);
    };
    const std::string type4 = isAv1 ? "avif" : "heic";
    std::string file = box("ftyp", brand + number(0, 4) + "mif1" + type4);
    file += metaAt(file.size() + metaAt(0).size() + 8);
    std::string data;
    for (const Item& item : items)
        data += item.data;
    return file + box("mdat", data);
}

} // namespace lumivert::decoder::test
