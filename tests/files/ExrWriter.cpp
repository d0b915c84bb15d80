#include "files/ExrWriter.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfIO.h>
#include <ImfOutputFile.h>
#include <ImfStandardAttributes.h>
#include <ImfTiledOutputFile.h>
#include <cstring>

namespace lumivert::test {
namespace {

class Growing : public Imf::OStream {
public:
    Growing()
        : OStream("test") {}

    void write(const char* from, int size) override {
        const auto count = static_cast<std::size_t>(size);
        bytes.resize(std::max(bytes.size(), m_at + count));
        std::memcpy(bytes.data() + m_at, from, count);
        m_at += count;
    }
    std::uint64_t tellp() override { return m_at; }
    void seekp(std::uint64_t position) override { m_at = position; }

    std::string bytes;

private:
    std::size_t m_at = 0;
};

Imath::Box2i box(const ExrWriter::Window& window) {
    return {{window.left, window.top}, {window.right, window.bottom}};
}

} // namespace

std::string ExrWriter::bytes(const std::function<float(int x, int y, int channel)>& value) const {
    const Imath::Box2i held = box(data.value_or(display));
    Imf::Header header(box(display), held, pixelAspectRatio);
    header.compression() = static_cast<Imf::Compression>(compression);
    header.lineOrder() = isFromTheBottom ? Imf::DECREASING_Y : Imf::INCREASING_Y;
    if (!chromaticities.empty())
        Imf::addChromaticities(header, {{chromaticities[0], chromaticities[1]},
                                        {chromaticities[2], chromaticities[3]},
                                        {chromaticities[4], chromaticities[5]},
                                        {chromaticities[6], chromaticities[7]}});
    if (density > 0)
        Imf::addXDensity(header, density);
    if (isTiled)
        header.setTileDescription(Imf::TileDescription(16, 16));
    const int width = held.max.x - held.min.x + 1;
    const int height = held.max.y - held.min.y + 1;
    std::vector<std::vector<float>> floats(channels.size());
    std::vector<std::vector<Imath::half>> halves(channels.size());
    Imf::FrameBuffer buffer;
    for (std::size_t c = 0; c < channels.size(); ++c) {
        for (int y = held.min.y; y <= held.max.y; ++y)
            for (int x = held.min.x; x <= held.max.x; ++x) {
                floats[c].push_back(value(x, y, static_cast<int>(c)));
                halves[c].push_back(floats[c].back());
            }
        const Imf::PixelType type = areHalves ? Imf::HALF : Imf::FLOAT;
        header.channels().insert(channels[c], Imf::Channel(type));
        buffer.insert(channels[c],
                      Imf::Slice::Make(type,
                                       areHalves ? static_cast<void*>(halves[c].data())
                                                 : static_cast<void*>(floats[c].data()),
                                       {held.min.x, held.min.y}, width, height));
    }
    Growing file;
    if (isTiled) {
        Imf::TiledOutputFile output(file, header, 0);
        output.setFrameBuffer(buffer);
        output.writeTiles(0, output.numXTiles() - 1, 0, output.numYTiles() - 1);
    } else {
        Imf::OutputFile output(file, header, 0);
        output.setFrameBuffer(buffer);
        output.writePixels(height);
    }
    return file.bytes;
}

} // namespace lumivert::test
