#include "decoder/JxlPhotos.h"

#include <cmath>
#include <cstdint>
#include <jxl/encode.h>
#include <memory>
#include <vector>

namespace lumivert::decoder::test {
namespace {

using Encoder = std::unique_ptr<JxlEncoder, decltype(&JxlEncoderDestroy)>;

Encoder newEncoder() {
    return {JxlEncoderCreate(nullptr), &JxlEncoderDestroy};
}

// What the encoder makes of all that it was given.
std::string fileOf(const Encoder& encoder) {
    JxlEncoderCloseInput(encoder.get());
    std::string file(1 << 16, '\0');
    auto* to = reinterpret_cast<std::uint8_t*>(file.data());
    std::size_t room = file.size();
    if (JxlEncoderProcessOutput(encoder.get(), &to, &room) != JXL_ENC_SUCCESS)
        return {};
    file.resize(file.size() - room);
    return file;
}

} // namespace

std::string JxlPhoto::bytes() const {
    const Encoder encoder = newEncoder();
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = static_cast<std::uint32_t>(size.width);
    info.ysize = static_cast<std::uint32_t>(size.height);
    info.orientation = static_cast<JxlOrientation>(orientation);
    info.bits_per_sample = static_cast<std::uint32_t>(bits);
    info.num_color_channels = 3;
    info.uses_original_profile = isLossless ? JXL_TRUE : JXL_FALSE;
    JxlEncoderSetBasicInfo(encoder.get(), &info);
    JxlColorEncoding meaning{};
    meaning.color_space = JXL_COLOR_SPACE_RGB;
    meaning.white_point = JXL_WHITE_POINT_D65;
    meaning.primaries = JXL_PRIMARIES_2100;
    meaning.transfer_function = static_cast<JxlTransferFunction>(transfer);
    meaning.rendering_intent = JXL_RENDERING_INTENT_RELATIVE;
    JxlEncoderSetColorEncoding(encoder.get(), &meaning);
    JxlEncoderFrameSettings* const settings = JxlEncoderFrameSettingsCreate(encoder.get(), nullptr);
    JxlEncoderSetFrameLossless(settings, isLossless ? JXL_TRUE : JXL_FALSE);
    JxlEncoderSetFrameDistance(settings, isLossless ? 0 : 0.1F);
    const JxlPixelFormat format{3, JXL_TYPE_UINT16, JXL_NATIVE_ENDIAN, 0};
    std::vector<std::uint16_t> samples;
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x)
            for (const double value : color(x, y))
                samples.push_back(static_cast<std::uint16_t>(std::lround(65535 * value)));
    JxlEncoderAddImageFrame(settings, &format, samples.data(), 2 * samples.size());
    return fileOf(encoder);
}

std::string recompressed(const std::string& jpeg) {
    const Encoder encoder = newEncoder();
    JxlEncoderUseContainer(encoder.get(), JXL_TRUE);
    JxlEncoderStoreJPEGMetadata(encoder.get(), JXL_TRUE);
    JxlEncoderAddJPEGFrame(JxlEncoderFrameSettingsCreate(encoder.get(), nullptr),
                           reinterpret_cast<const std::uint8_t*>(jpeg.data()), jpeg.size());
    return fileOf(encoder);
}

} // namespace lumivert::decoder::test
