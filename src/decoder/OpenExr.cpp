#include "decoder/Confinement.h"
#include "decoder/OwnReaders.h"
#include "decoder/Profiles.h"
#include "decoder/Strips.h"
#include "platform/decoder/DecoderProtocol.h"

#include <Iex.h>
#include <ImfIO.h>
#include <ImfRgbaFile.h>
#include <ImfStandardAttributes.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

namespace lumivert::decoder {
namespace {

using namespace std::string_view_literals;
using vips::VImage;

class Memory : public Imf::IStream {
public:
    explicit Memory(ByteView bytes)
        : IStream("photo")
        , m_bytes(bytes) {}

    bool read(char* to, int size) override {
        const ByteView found = part(m_bytes, m_at, static_cast<std::uint64_t>(size));
        if (found.size() != static_cast<std::size_t>(size))
            throw Iex::InputExc("a file that breaks off");
        std::memcpy(to, found.data(), found.size());
        m_at += found.size();
        return m_at < m_bytes.size();
    }
    std::uint64_t tellg() override { return m_at; }
    void seekg(std::uint64_t position) override { m_at = position; }

private:
    ByteView m_bytes;
    std::uint64_t m_at = 0;
};

// Light by sRGB's curve (IEC 61966-2-1) from a half float's bits; what is no number is black.
double encoded(std::uint16_t bits) {
    Imath::half light;
    light.setBits(bits);
    const double value = light > 0 ? std::min<double>(light, 1) : 0;
    return 0.5 +
           65535 * (value <= 0.0031308 ? 12.92 * value : 1.055 * std::pow(value, 1 / 2.4) - 0.055);
}

} // namespace

VImage readExr(ByteView file) {
    // Where its header lacks what every file has, OpenEXR goes on with windows of its own.
    for (const std::string_view attribute :
         {"dataWindow"sv, "displayWindow"sv, "lineOrder\0lineOrder"sv, "pixelAspectRatio"sv,
          "screenWindowCenter"sv, "screenWindowWidth"sv})
        if (asText(file).find(attribute) == std::string_view::npos)
            throw std::runtime_error("no whole header");
    Imf::Header::setMaxImageSize(protocol::maximumEdge, protocol::maximumEdge);
    Memory memory(file);
    Imf::RgbaInputFile input(memory, 0); // on this thread alone
    const Imf::Header& header = input.header();
    const Imath::Box2i shown = input.displayWindow();
    const Imath::Box2i held = input.dataWindow();
    const PixelSize size{shown.max.x - shown.min.x + 1, shown.max.y - shown.min.y + 1};
    const bool isGrey = (input.channels() & Imf::WRITE_RGB) == 0;
    if (isGrey && (input.channels() & Imf::WRITE_Y) == 0)
        throw std::runtime_error("no colours");
    const int bands = isGrey ? 1 : 3;
    allowPhoto(size, static_cast<std::size_t>(bands) * sizeof(std::uint16_t));

    constexpr std::uint16_t white = 0x3c00; // as a half float
    const auto values = std::make_shared<std::vector<std::uint16_t>>(
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) *
            static_cast<std::size_t>(bands),
        white);
    std::vector<Imf::Rgba> row(static_cast<std::size_t>(held.max.x - held.min.x + 1));
    input.setFrameBuffer(row.data() - held.min.x, 1, 0);
    const int left = std::max(shown.min.x, held.min.x);
    const int right = std::min(shown.max.x, held.max.x);
    for (int y = std::max(shown.min.y, held.min.y); y <= std::min(shown.max.y, held.max.y); ++y) {
        input.readPixels(y);
        std::uint16_t* to =
            values->data() +
            (std::ptrdiff_t{y - shown.min.y} * size.width + left - shown.min.x) * bands;
        for (int x = left; x <= right; ++x, to += bands) {
            const Imf::Rgba& pixel = row[static_cast<std::size_t>(x - held.min.x)];
            // Colours are multiplied by alpha already.
            const float behind = std::clamp(1.0F - pixel.a, 0.0F, 1.0F);
            const std::array colors{pixel.r, pixel.g, pixel.b};
            std::transform(colors.begin(), colors.begin() + bands, to,
                           [&](Imath::half light) { return Imath::half(light + behind).bits(); });
        }
    }

    const VImage stored =
        holding(VImage::new_from_memory(values->data(), 2 * values->size(), size.width, size.height,
                                        bands, VIPS_FORMAT_USHORT),
                values);
    const VImage image = mapped(stored, VIPS_FORMAT_USHORT, encoded);
    const double dotsPerInch = Imf::hasXDensity(header) ? Imf::xDensity(header) : 0;
    VipsImage* const about = image.get_image();
    about->Type = isGrey ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_RGB16;
    about->Xres = dotsPerInch / 25.4;
    about->Yres = about->Xres * input.pixelAspectRatio();
    if (Imf::hasChromaticities(header) && !isGrey) {
        const auto& [red, green, blue, neutral] = Imf::chromaticities(header);
        const Bytes profile =
            rgbBytes({neutral.x, neutral.y, red.x, red.y, green.x, green.y, blue.x, blue.y},
                     srgbCurve(), "As the photo states");
        vips_image_set_blob_copy(about, VIPS_META_ICC_NAME, profile.data(), profile.size());
    }
    return image;
}

} // namespace lumivert::decoder
