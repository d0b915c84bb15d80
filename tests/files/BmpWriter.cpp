#include "files/BmpWriter.h"

#include "files/TiffWriter.h"

#include <cstdlib>

namespace lumivert::test {

std::string BmpWriter::bytes(const std::string& pixels) const {
    const TiffWriter writer(true);
    const auto word = [&](auto value) {
        return writer.number(static_cast<std::uint32_t>(value), 4);
    };
    std::string info = word(infoSize) + word(width) + word(height) + writer.number(1, 2) +
                       writer.number(static_cast<std::uint64_t>(bits), 2) + word(coding) +
                       word(pixels.size()) + word(across) + word(down) + word(palette.size()) +
                       word(0);
    for (const std::uint32_t mask : masks)
        info += word(mask);
    info.resize(std::max(static_cast<std::size_t>(infoSize), info.size()));
    std::string colors;
    for (const std::uint32_t color : palette)
        colors += word(color);
    const std::size_t pixelsAt = 14 + info.size() + colors.size();
    if (!profile.empty()) {
        info.replace(56, 4, "DEBM");
        info.replace(112, 8, word(pixelsAt - 14 + pixels.size()) + word(profile.size()));
    }
    return "BM" + word(pixelsAt + pixels.size()) + word(0) + word(pixelsAt) + info + colors +
           pixels + profile;
}

std::string BmpWriter::rows(const std::function<std::uint32_t(int, int)>& pixel) const {
    std::string result;
    for (int row = 0; row < std::abs(height); ++row) {
        const int y = height < 0 ? row : height - 1 - row;
        std::string line;
        unsigned pending = 0;
        for (int x = 0; x < width; ++x) {
            if (bits >= 8) {
                line += TiffWriter(true).number(pixel(x, y), bits / 8);
                continue;
            }
            pending = pending << bits | pixel(x, y);
            if ((x + 1) * bits % 8 == 0)
                line += static_cast<char>(pending);
        }
        if (const int rest = width * bits % 8; bits < 8 && rest != 0)
            line += static_cast<char>(pending << (8 - rest));
        line.resize((line.size() + 3) / 4 * 4);
        result += line;
    }
    return result;
}

} // namespace lumivert::test
