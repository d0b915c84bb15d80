#include "decoder/Photo.h"
#include "decoder/PhotoFacts.h"
#include "decoder/Profiles.h"
#include "decoder/TestPhotos.h"
#include "decoder/TestProfiles.h"
#include "files/BmpWriter.h"
#include "files/DeepTiff.h"
#include "files/ExrWriter.h"

#include <gtest/gtest.h>

#include <Imath/half.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iterator>
#include <random>
#include <sstream>
#include <tiffio.h>

// The table in docs/formats.md. LUMIVERT_FORMATS_TABLE names a file to write it anew to.
namespace lumivert::decoder {
namespace {

using vips::VImage;

constexpr int fields = 12;
constexpr int side = 16;

// A strip of fields of random colours, 0 to 1.
std::vector<double> colors(int channels) {
    std::mt19937 random(7);
    std::vector<double> values;
    for (int i = 0; i < fields * channels; ++i)
        values.push_back(static_cast<double>(random() % 65536) / 65535);
    return values;
}

struct Case {
    std::string format;
    std::string suffix;
    std::string depth;
    int channels;
    int bits; // 32: float
    bool hasProfile;
    vips::VOption* options = nullptr;
    /// Makes the file, where libvips does not, and rounds the colours to what it holds.
    std::function<std::string(std::vector<double>& values)> make = {};
};

// Of the strip's rows.
template <class Sample>
std::vector<Sample> rowsOf(const std::vector<double>& values, int channels,
                           const std::function<Sample(double)>& sample) {
    std::vector<Sample> samples;
    for (int i = 0; i < side * fields * side * channels; ++i) {
        const int field = i / channels / side % fields;
        samples.push_back(
            sample(values[static_cast<std::size_t>(field * channels + i % channels)]));
    }
    return samples;
}

lumivert::test::DeepTiff deepStrip(int channels, int bits) {
    return {.width = fields * side,
            .height = side,
            .samples = channels,
            .bits = bits,
            .photometric = channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB};
}

Case tiffOf(int channels, int bits) {
    return {"TIFF",
            "",
            std::to_string(bits) + (channels == 1 ? " bits, grey" : " bits, RGB"),
            channels,
            16,
            false,
            nullptr,
            [=](std::vector<double>& values) {
                const double most = std::pow(2, bits) - 1;
                for (double& value : values)
                    value = std::round(value * most) / most;
                auto tiff = deepStrip(channels, bits);
                tiff.values = rowsOf<std::uint32_t>(values, channels, [&](double value) {
                    return static_cast<std::uint32_t>(std::lround(value * most));
                });
                return tiff.bytes();
            }};
}

Case tiffOfHalfFloats() {
    return {"TIFF", "", "half float, RGB", 3, 32, false, nullptr, [](std::vector<double>& values) {
                for (double& value : values)
                    value = Imath::half(static_cast<float>(value));
                auto tiff = deepStrip(3, 16);
                tiff.isFloat = true;
                tiff.values = rowsOf<std::uint32_t>(values, 3, [](double value) {
                    return Imath::half(static_cast<float>(value)).bits();
                });
                return tiff.bytes();
            }};
}

Case bmp() {
    return {"BMP", "", "8 bits, RGB", 3, 8, false, nullptr, [](std::vector<double>& values) {
                const lumivert::test::BmpWriter writer{.width = fields * side, .height = side};
                return writer.bytes(writer.rows([&](int x, int) {
                    std::uint32_t color = 0;
                    for (int c = 0; c < 3; ++c)
                        color = color << 8 |
                                static_cast<std::uint32_t>(std::lround(
                                    255 * values[static_cast<std::size_t>(x / side * 3 + c)]));
                    return color;
                }));
            }};
}

Case openExr() {
    return {
        "OpenEXR", "", "half float, RGB", 3, 32, false, nullptr, [](std::vector<double>& values) {
            for (double& value : values)
                value = Imath::half(static_cast<float>(value));
            return lumivert::test::ExrWriter{.display = {0, 0, fields * side - 1, side - 1}}.bytes(
                [&](int x, int, int channel) {
                    return static_cast<float>(
                        values[static_cast<std::size_t>(x / side * 3 + channel)]);
                });
        }};
}

VImage strip(const Case& of, const std::vector<double>& values) {
    const auto sample = [&](int x, int, int band) {
        const double value = values[static_cast<std::size_t>(x / side * of.channels + band)];
        return static_cast<int>(std::lround(value * (of.bits == 8 ? 255 : 65535)));
    };
    VImage image = of.bits == 8 ? test::image8({fields * side, side}, of.channels, sample)
                                : test::image16({fields * side, side}, of.channels, sample);
    if (of.bits == 32)
        image = (image.cast(VIPS_FORMAT_FLOAT) / 65535)
                    .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_scRGB));
    if (of.channels == 4)
        image = image.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_CMYK));
    image = image.copy();
    const Bytes& profile = adobeRgbBytes();
    if (of.hasProfile)
        image.set("icc-profile-data", nullptr, const_cast<std::byte*>(profile.data()),
                  profile.size());
    return image;
}

// What Little CMS makes of the fields in floating point, 0 to 255.
std::vector<double> converted(const std::vector<double>& values, const Profile& from, int channels,
                              const Profile& to) {
    const std::uint32_t in = channels == 1   ? TYPE_GRAY_DBL
                             : channels == 3 ? TYPE_RGB_DBL
                                             : TYPE_CMYK_DBL;
    const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
        cmsCreateTransform(from.get(), in, to.get(), TYPE_RGB_DBL, INTENT_RELATIVE_COLORIMETRIC,
                           cmsFLAGS_NOOPTIMIZE | cmsFLAGS_BLACKPOINTCOMPENSATION),
        &cmsDeleteTransform);
    std::vector<double> scaled = values;
    for (double& value : scaled)
        value *= channels == 4 ? 100 : 1;
    std::vector<double> result(fields * 3);
    cmsDoTransform(way.get(), scaled.data(), result.data(), fields);
    for (double& value : result)
        value = std::clamp(value, 0.0, 1.0) * 255;
    return result;
}

// The table's line for a case, and its three largest differences of 255.
struct Line {
    std::string name;
    std::array<double, 3> worst{};
};

std::optional<Line> measured(const Case& of) {
    std::vector<double> values = colors(of.channels);
    for (double& value : values) // as the file holds them
        if (of.bits == 8)
            value = std::round(value * 255) / 255;
    std::string file;
    try {
        file = of.make ? of.make(values) : test::saved(strip(of, values), of.suffix, of.options);
    } catch (const vips::VError&) {
        return std::nullopt; // no encoder here
    }
    Line line{.name = of.format + " | " + of.depth + " | " +
                      (of.hasProfile ? "profile" : "no profile")};
    const auto own = test::readRows(file);
    const Bytes target = test::profileBytes(test::TableRgb().profile());
    const auto paper = test::readRows(file, std::nullopt, Paper{target, 1});
    const auto screen = test::readRendition(file, fields * side);
    EXPECT_TRUE(own && paper && screen) << line.name;
    if (!own || !paper || !screen)
        return line;
    // Floats without a profile are linear light, which paper gets with sRGB's curve.
    const auto encoded = [](double v) {
        return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
    };
    if (of.bits == 32 && !of.hasProfile)
        std::ranges::transform(values, values.begin(), encoded);
    const Profile from = sourceProfile(of.hasProfile ? adobeRgbBytes() : Bytes(), of.channels);
    const auto onPaper = converted(values, from, of.channels, openProfile(target));
    const auto onScreen = converted(values, from, of.channels, srgbProfile());
    const auto note = [&](std::size_t column, double got, double expected) {
        line.worst[column] = std::max(line.worst[column], std::abs(got - expected));
    };
    for (int field = 0; field < fields; ++field) {
        const int x = field * side + side / 2;
        for (int c = 0; c < own->channels; ++c)
            note(0, own->at(x, side / 2, c) / (own->bits == 8 ? 1 : 257.0),
                 values[static_cast<std::size_t>(field * of.channels + c)] * 255);
        const std::uint32_t word =
            screen->words[static_cast<std::size_t>(side / 2 * fields * side + x)];
        for (int c = 0; c < 3; ++c) {
            const auto i = static_cast<std::size_t>(field * 3 + c);
            note(1, word >> (16 - 8 * c) & 0xff, onScreen[i]);
            note(2, paper->at(x, side / 2, c), onPaper[i]);
        }
    }
    return line;
}

std::vector<Case> cases() {
    const auto option = [](const char* name, auto value) {
        return VImage::option()->set(name, value);
    };
    std::vector<Case> all;
    for (const bool hasProfile : {false, true}) {
        all.push_back({"JPEG", ".jpg", "8 bits, RGB", 3, 8, hasProfile, option("Q", 100)});
        all.push_back({"PNG", ".png", "8 bits, RGB", 3, 8, hasProfile});
        all.push_back({"PNG", ".png", "16 bits, RGB", 3, 16, hasProfile});
        all.push_back({"TIFF", ".tif", "8 bits, RGB", 3, 8, hasProfile});
        all.push_back({"TIFF", ".tif", "16 bits, RGB", 3, 16, hasProfile});
        all.push_back({"TIFF", ".tif", "float, RGB", 3, 32, hasProfile});
        all.push_back({"WebP", ".webp", "8 bits, RGB", 3, 8, hasProfile, option("lossless", true)});
        all.push_back(
            {"JPEG XL", ".jxl", "8 bits, RGB", 3, 8, hasProfile, option("lossless", true)});
    }
    all.push_back({"PNG", ".png", "8 bits, grey", 1, 8, false});
    all.push_back({"PNG", ".png", "16 bits, grey", 1, 16, false});
    all.push_back({"TIFF", ".tif", "8 bits, CMYK", 4, 8, false});
    all.push_back({"TIFF", ".tif", "16 bits, CMYK", 4, 16, false});
    for (const int bits : {10, 12, 24})
        for (const int channels : {1, 3})
            all.push_back(tiffOf(channels, bits));
    all.push_back(tiffOfHalfFloats());
    all.push_back(bmp());
    all.push_back(openExr());
    all.push_back({"JPEG 2000", ".jp2", "8 bits, RGB", 3, 8, false, option("lossless", true)});
    all.push_back({"HEIC, AVIF", ".avif", "8 bits, RGB", 3, 8, false, option("lossless", true)});
    return all;
}

TEST(FormatTable, holdsInEachLine) {
    std::ifstream stream(LUMIVERT_TREE "/docs/formats.md");
    const std::string document{std::istreambuf_iterator<char>(stream), {}};
    std::ostringstream table;
    table << std::fixed << std::setprecision(1);
    for (const Case& of : cases()) {
        const auto line = measured(of);
        if (!line)
            continue;
        table << "| " << line->name;
        for (const double worst : line->worst)
            table << " | " << std::ceil(worst * 10) / 10;
        table << " |\n";
        const std::size_t at = document.find("| " + line->name + " |");
        EXPECT_NE(at, std::string::npos) << "docs/formats.md lacks " << line->name;
        if (at == std::string::npos)
            continue;
        std::istringstream figures(document.substr(at + line->name.size() + 4));
        figures.imbue(std::locale::classic());
        for (const double worst : line->worst) {
            double stated = -1;
            char bar = 0;
            figures >> stated >> bar;
            EXPECT_LE(worst, stated + 0.001) << line->name;
        }
    }
    if (const char* path = std::getenv("LUMIVERT_FORMATS_TABLE"))
        std::ofstream(path) << table.str();
}

} // namespace
} // namespace lumivert::decoder
