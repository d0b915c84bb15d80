#include "decoder/CodePoints.h"
#include "decoder/HeifPhotos.h"
#include "decoder/JxlPhotos.h"
#include "decoder/PlainPhotos.h"
#include "decoder/TestProfiles.h"
#include "files/BmpWriter.h"
#include "files/DeepTiff.h"
#include "files/ExrWriter.h"
#include "files/TiffWriter.h"

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

using lumivert::test::DeepTiff;
using vips::VImage;
using Values = std::vector<double>;

constexpr int fields = 12;
constexpr int side = 16;
constexpr PixelSize strip{fields * side, 64}; // as high as a block of HEVC

// What stands where in the stored picture: a channel's value, 0 to 1.
struct Picture {
    int orientation;
    int channels;
    Values values;

    [[nodiscard]] PixelSize size() const {
        return orientation >= 5 ? PixelSize{strip.height, strip.width} : strip;
    }
    // By the words of Exif's table: which side of the scene the stored rows and columns begin at.
    [[nodiscard]] double at(int x, int y, int channel) const {
        const bool isFromTheRight =
            orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
        const int across = orientation >= 5 ? y : x;
        const int field = (isFromTheRight ? strip.width - 1 - across : across) / side;
        return values[static_cast<std::size_t>(field * channels + channel)];
    }
};

const std::vector<int> everyOrientation{1, 2, 3, 4, 5, 6, 7, 8};
// Libheif 1.15 mirrors no samples of more than 8 bits.
const std::vector<int> quarterTurns{1, 3, 6, 8};
const std::vector<int> upright{1};

// What the numbers mean, said without the decoder.
Profile rgbOf(const std::array<double, 6>& primaries, cmsToneCurve* curve) {
    const std::array<cmsToneCurve*, 3> curves{curve, curve, curve};
    const cmsCIExyY white{0.3127, 0.3290, 1};
    const auto& [xr, yr, xg, yg, xb, yb] = primaries;
    const cmsCIExyYTRIPLE colors{{xr, yr, 1}, {xg, yg, 1}, {xb, yb, 1}};
    Profile made(cmsCreateRGBProfile(&white, &colors, curves.data()));
    cmsFreeToneCurve(curve);
    return made;
}

constexpr std::array displayP3{0.680, 0.320, 0.265, 0.690, 0.150, 0.060};
constexpr std::array rec2020{0.708, 0.292, 0.170, 0.797, 0.131, 0.046};

Profile p3() {
    return rgbOf(displayP3, srgbCurve().release());
}

// gAMA of 1/2 and cHRM.
Profile squareRec2020() {
    return rgbOf(rec2020, cmsBuildGamma(nullptr, 2));
}

struct Case {
    std::string format;
    std::string depth;
    std::string meaning;
    int channels;
    /// Makes the file; empty where no encoder is here.
    std::function<std::string(const Picture&)> make;
    std::vector<int> orientations = everyOrientation;
    /// The value that a file of this depth holds in place of one.
    std::function<double(double)> held = [](double value) { return value; };
    /// Of what the numbers mean; else the plain space of so many channels.
    std::function<Profile()> profile = {};
    /// Linear light, which paper gets with sRGB's curve.
    bool isLinear = false;
    /// CIELAB, which paper gets in wide-gamut RGB.
    bool isLab = false;
};

std::function<double(double)> steps(int bits) {
    return [most = std::pow(2, bits) - 1](double value) { return std::round(value * most) / most; };
}

double halfFloat(double value) {
    return Imath::half(static_cast<float>(value));
}

struct Saving {
    std::string suffix;
    int bits; // 32: float
    std::function<vips::VOption*()> options = [] { return VImage::option(); };
    Bytes profile = {};
    /// Of Exif; 0 for none.
    int colorSpace = 0;
};

// By libvips.
std::string savedBy(const Saving& saving, const Picture& picture) {
    const double most = saving.bits == 8 ? 255 : 65535;
    const auto sample = [&](int x, int y, int band) {
        return static_cast<int>(std::lround(picture.at(x, y, band) * most));
    };
    VImage image = saving.bits == 8 ? test::image8(picture.size(), picture.channels, sample)
                                    : test::image16(picture.size(), picture.channels, sample);
    if (saving.bits == 32)
        image = (image.cast(VIPS_FORMAT_FLOAT) / 65535)
                    .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_scRGB));
    if (picture.channels >= 4)
        image = image.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_CMYK));
    image = image.copy();
    if (!saving.profile.empty())
        image = test::tagged(image, saving.profile);
    if (picture.orientation != 1) {
        image.set("orientation", picture.orientation);
        if (saving.suffix != ".tif") {
            test::ExifBuilder exif{.orientation = static_cast<std::uint16_t>(picture.orientation)};
            const std::string block = std::string("Exif\0\0", 6) + exif.bytes();
            vips_image_set_blob_copy(image.get_image(), "exif-data", block.data(), block.size());
        }
    }
    std::string file;
    try {
        file = test::saved(image, saving.suffix, saving.options());
    } catch (const vips::VError&) {
        return {}; // no encoder here
    }
    if (saving.colorSpace == 0)
        return file;
    const test::ExifBuilder exif{.orientation = static_cast<std::uint16_t>(picture.orientation),
                                 .colorSpace = static_cast<std::uint16_t>(saving.colorSpace)};
    return test::withExif(test::withoutSegments(file, 0xe1), exif.bytes());
}

std::function<std::string(const Picture&)> by(const Saving& saving) {
    return [saving](const Picture& picture) { return savedBy(saving, picture); };
}

// By libtiff, with more samples behind the colours.
std::function<std::string(const Picture&)> by(const DeepTiff& form,
                                              std::vector<std::uint32_t> more = {}) {
    return [=](const Picture& picture) {
        DeepTiff tiff = form;
        const auto [width, height] = picture.size();
        tiff.width = width;
        tiff.height = height;
        tiff.orientation = picture.orientation;
        tiff.samples = picture.channels + static_cast<int>(more.size());
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                for (int c = 0; c < picture.channels; ++c) {
                    const double value = picture.at(x, y, c);
                    tiff.values.push_back(form.isFloat
                                              ? Imath::half(static_cast<float>(value)).bits()
                                              : static_cast<std::uint32_t>(std::lround(
                                                    value * (std::pow(2, form.bits) - 1))));
                }
                tiff.values.insert(tiff.values.end(), more.begin(), more.end());
            }
        return tiff.bytes();
    };
}

DeepTiff tiffOf(int bits, int photometric) {
    return {.bits = bits, .photometric = photometric};
}

// JPEG's YCbCr, in full range and not subsampled.
std::string ycbcrTiff(const Picture& picture) {
    Picture converted = picture;
    for (std::size_t i = 0; i < converted.values.size(); i += 3) {
        const double red = picture.values[i];
        const double green = picture.values[i + 1];
        const double blue = picture.values[i + 2];
        const double luma = 0.299 * red + 0.587 * green + 0.114 * blue;
        const double middle = 128 / 255.0;
        converted.values[i] = luma;
        converted.values[i + 1] = std::clamp(middle + (blue - luma) / 1.772, 0.0, 1.0);
        converted.values[i + 2] = std::clamp(middle + (red - luma) / 1.402, 0.0, 1.0);
    }
    DeepTiff tiff = tiffOf(8, PHOTOMETRIC_YCBCR);
    return by(tiff)(converted);
}

// Bytes of CIELAB from sRGB; `zero` is that of a and b.
Values inLab(const Values& rgb) {
    const Profile from = srgbProfile();
    const Profile to(cmsCreateLab4Profile(nullptr));
    const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
        cmsCreateTransform(from.get(), TYPE_RGB_DBL, to.get(), TYPE_Lab_DBL,
                           INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE),
        &cmsDeleteTransform);
    Values lab(rgb.size());
    cmsDoTransform(way.get(), rgb.data(), lab.data(), fields);
    for (std::size_t i = 0; i < lab.size(); ++i)
        lab[i] = i % 3 == 0 ? std::round(lab[i] * 2.55) / 2.55
                            : std::clamp(std::round(lab[i]), -128.0, 127.0);
    return lab;
}

std::function<std::string(const Picture&)> labTiff(int photometric) {
    return [=](const Picture& picture) {
        Picture coded = picture;
        for (std::size_t i = 0; i < coded.values.size(); ++i) {
            const double value = picture.values[i];
            const int byte = i % 3 == 0 ? static_cast<int>(std::lround(value * 2.55))
                             : photometric == PHOTOMETRIC_ICCLAB ? static_cast<int>(value) + 128
                                                                 : static_cast<int>(value) & 255;
            coded.values[i] = byte / 255.0;
        }
        return by(tiffOf(8, photometric))(coded);
    };
}

std::string bmp(const Picture& picture) {
    const lumivert::test::BmpWriter writer{.width = strip.width, .height = strip.height};
    return writer.bytes(writer.rows([&](int x, int y) {
        std::uint32_t color = 0;
        for (int c = 0; c < 3; ++c)
            color = color << 8 | static_cast<std::uint32_t>(std::lround(255 * picture.at(x, y, c)));
        return color;
    }));
}

std::string openExr(const Picture& picture) {
    return lumivert::test::ExrWriter{.display = {0, 0, strip.width - 1, strip.height - 1}}.bytes(
        [&](int x, int y, int channel) { return static_cast<float>(picture.at(x, y, channel)); });
}

std::function<std::string(const Picture&)> jxl(int bits, int transfer) {
    return [=](const Picture& picture) {
        return test::JxlPhoto{.color =
                                  [&](int x, int y) {
                                      return std::array{picture.at(x, y, 0), picture.at(x, y, 1),
                                                        picture.at(x, y, 2)};
                                  },
                              .size = picture.size(),
                              .bits = bits,
                              .transfer = transfer,
                              .orientation = picture.orientation}
            .bytes();
    };
}

std::function<std::string(const Picture&)> heif(bool isAv1, int bits, const Bytes& profile,
                                                const std::string& brand = "mif1") {
    return [=](const Picture& picture) {
        test::HeifPhoto photo{.isAv1 = isAv1, .bits = bits};
        photo.color = [&](int x, int y) {
            return std::array{picture.at(x, y, 0), picture.at(x, y, 1), picture.at(x, y, 2)};
        };
        photo.size = picture.size();
        photo.primaries = 12;
        photo.transfer = 13;
        photo.profile = profile;
        photo.brand = brand;
        constexpr std::array<std::uint64_t, 9> rotations{0, 0, 0, 2, 0, 1, 3, 1, 1};
        const auto orientation = static_cast<std::size_t>(picture.orientation);
        photo.turns = {{"irot", rotations[orientation]}};
        if (orientation == 2 || orientation == 7)
            photo.turns.push_back({"imir", 1});
        else if (orientation == 4 || orientation == 5)
            photo.turns.push_back({"imir", 0});
        return photo.bytes().value_or("");
    };
}

std::function<std::string(const Picture&)>
pngStating(int bits, const std::vector<std::pair<std::string, std::string>>& chunks) {
    return [=](const Picture& picture) {
        return test::pngWith(savedBy({".png", bits}, picture), chunks);
    };
}

std::vector<Case> cases() {
    const auto option = [](const char* name, auto value) {
        return [=] { return VImage::option()->set(name, value); };
    };
    const auto adobe = [] { return openProfile(adobeRgbBytes()); };
    const lumivert::test::TiffWriter writer(false);
    std::string fractions; // of cHRM
    for (const double value : {0.3127, 0.3290, 0.708, 0.292, 0.170, 0.797, 0.131, 0.046})
        fractions += writer.number(static_cast<std::uint64_t>(std::lround(value * 100000)), 4);
    const std::string rgb8 = "8 bits, RGB";
    const std::string rgb16 = "16 bits, RGB";
    const std::string none = "no profile";
    std::vector<Case> all;
    for (const bool hasProfile : {false, true}) {
        const Bytes bytes = hasProfile ? adobeRgbBytes() : Bytes();
        const std::string meaning = hasProfile ? "profile" : none;
        const auto add = [&](Case line, int bits) {
            line.meaning = meaning;
            line.held = bits == 32 ? line.held : steps(bits);
            if (hasProfile)
                line.profile = adobe;
            line.isLinear = bits == 32 && !hasProfile;
            all.push_back(line);
        };
        add({"JPEG", rgb8, "", 3, by({".jpg", 8, option("Q", 100), bytes})}, 8);
        add({"PNG", rgb8, "", 3, by({".png", 8, option("compression", 1), bytes})}, 8);
        add({"PNG", rgb16, "", 3, by({".png", 16, option("compression", 1), bytes})}, 16);
        add({"TIFF", rgb8, "", 3, by({".tif", 8, option("tile", false), bytes})}, 8);
        add({"TIFF", rgb16, "", 3, by({".tif", 16, option("tile", false), bytes})}, 16);
        add({"TIFF", "float, RGB", "", 3, by({".tif", 32, option("tile", false), bytes})}, 32);
        add({"WebP", rgb8, "", 3, by({".webp", 8, option("lossless", true), bytes})}, 8);
        if (hasProfile) {
            add({"HEIC", rgb8, "", 3, heif(false, 8, bytes)}, 8);
            add({"AVIF", rgb8, "", 3, heif(true, 8, bytes)}, 8);
        }
    }
    const auto lines = [&](const std::vector<Case>& more) {
        all.insert(all.end(), more.begin(), more.end());
    };
    const std::string code{'\x0c', '\x0d', '\0', '\1'};
    lines({
        {"JPEG", rgb8, "Exif ColorSpace 2", 3, by({".jpg", 8, option("Q", 100), {}, 2}),
         everyOrientation, steps(8), adobe},
        {"JPEG", "8 bits, grey", none, 1, by({".jpg", 8, option("Q", 100)}), everyOrientation,
         steps(8)},
        {"JPEG", "8 bits, CMYK", none, 4, by({".jpg", 8, option("Q", 100)}), everyOrientation,
         steps(8)},
        {"PNG", "8 bits, grey", none, 1, by({".png", 8}), everyOrientation, steps(8)},
        {"PNG", "16 bits, grey", none, 1, by({".png", 16}), everyOrientation, steps(16)},
        {"PNG", rgb8, "cICP: Display P3", 3, pngStating(8, {{"cICP", code}}), everyOrientation,
         steps(8), p3},
        {"PNG", rgb16, "cICP: Display P3", 3, pngStating(16, {{"cICP", code}}), everyOrientation,
         steps(16), p3},
        {"PNG", rgb8, "sRGB", 3, pngStating(8, {{"sRGB", std::string(1, '\0')}}), everyOrientation,
         steps(8)},
        {"PNG", rgb16, "gAMA, cHRM", 3,
         pngStating(16, {{"gAMA", writer.number(50000, 4)}, {"cHRM", fractions}}), everyOrientation,
         steps(16), squareRec2020},
        {"TIFF", "8 bits, CMYK", none, 4, by({".tif", 8}), everyOrientation, steps(8)},
        {"TIFF", "16 bits, CMYK", none, 4, by({".tif", 16}), everyOrientation, steps(16)},
    });
    for (const auto& [name, extra, more] :
         {std::tuple{"8 bits, CMYK, alpha", EXTRASAMPLE_UNASSALPHA, std::vector{255U}},
          {"8 bits, CMYK, spot colour", EXTRASAMPLE_UNSPECIFIED, std::vector{77U}},
          {"8 bits, CMYK, alpha, spot colour", EXTRASAMPLE_UNASSALPHA, std::vector{255U, 77U}}}) {
        DeepTiff tiff = tiffOf(8, PHOTOMETRIC_SEPARATED);
        tiff.extraSamples = {static_cast<std::uint16_t>(extra)};
        if (more.size() > 1)
            tiff.extraSamples.push_back(EXTRASAMPLE_UNSPECIFIED);
        all.push_back({"TIFF", name, none, 4, by(tiff, more), everyOrientation, steps(8)});
    }
    for (const int bits : {10, 12, 24, 32})
        for (const int channels : {1, 3}) {
            const DeepTiff tiff =
                tiffOf(bits, channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
            const std::string name =
                std::to_string(bits) + (channels == 1 ? " bits, grey" : " bits, RGB");
            all.push_back({"TIFF", name, none, channels, by(tiff), everyOrientation,
                           steps(std::min(bits, 24))});
        }
    DeepTiff halves = tiffOf(16, PHOTOMETRIC_RGB);
    halves.isFloat = true;
    all.push_back(
        {"TIFF", "half float, RGB", none, 3, by(halves), everyOrientation, halfFloat, {}, true});
    for (const auto& [name, compression] : {std::pair("LZW", COMPRESSION_LZW),
                                            {"deflate", COMPRESSION_ADOBE_DEFLATE},
                                            {"PackBits", COMPRESSION_PACKBITS},
                                            {"Zstandard", COMPRESSION_ZSTD},
                                            {"LZMA", COMPRESSION_LZMA}}) {
        DeepTiff tiff = tiffOf(8, PHOTOMETRIC_RGB);
        tiff.compression = compression;
        all.push_back({"TIFF", rgb8 + ", " + name, none, 3, by(tiff), everyOrientation, steps(8)});
    }
    lines({
        {"TIFF", rgb8 + ", WebP", none, 3,
         by({".tif", 8,
             [] {
                 return VImage::option()
                     ->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_WEBP)
                     ->set("lossless", true);
             }}),
         everyOrientation, steps(8)},
        {"TIFF", rgb8 + ", JPEG", none, 3,
         by({".tif", 8,
             [] {
                 return VImage::option()
                     ->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_JPEG)
                     ->set("Q", 100);
             }}),
         everyOrientation, steps(8)},
        {"TIFF", "8 bits, YCbCr, JPEG of quality 85", none, 3,
         by({".tif", 8,
             [] {
                 return VImage::option()
                     ->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_JPEG)
                     ->set("Q", 85);
             }}),
         everyOrientation, steps(8)},
        {"TIFF", "8 bits, YCbCr", none, 3, ycbcrTiff, everyOrientation, steps(8)},
        {"TIFF", "8 bits, CIELAB", "CIELAB", 3, labTiff(PHOTOMETRIC_CIELAB), everyOrientation,
         steps(8), [] { return Profile(cmsCreateLab4Profile(nullptr)); }, false, true},
        {"TIFF", "8 bits, ICCLab", "CIELAB", 3, labTiff(PHOTOMETRIC_ICCLAB), everyOrientation,
         steps(8), [] { return Profile(cmsCreateLab4Profile(nullptr)); }, false, true},
        {"HEIC", rgb8, "nclx: Display P3", 3, heif(false, 8, {}), everyOrientation, steps(8), p3},
        {"HEIC", "10 bits, RGB", "nclx: Display P3", 3, heif(false, 10, {}), quarterTurns,
         steps(10), p3},
        {"AVIF", rgb8, "nclx: Display P3", 3, heif(true, 8, {}), everyOrientation, steps(8), p3},
        {"AVIF", "10 bits, RGB", "nclx: Display P3", 3, heif(true, 10, {}), quarterTurns, steps(10),
         p3},
        {"AVIF", "12 bits, RGB", "nclx: Display P3", 3, heif(true, 12, {}), quarterTurns, steps(12),
         p3},
    });
    for (const char* brand :
         {"heic", "heix", "hevc", "heim", "heis", "msf1", "mif2", "miaf", "MiHE", "unif", "tmap"})
        all.push_back({"HEIC, brand " + std::string(brand), rgb8, "nclx: Display P3", 3,
                       heif(false, 8, {}, brand), upright, steps(8), p3});
    lines({
        {"JPEG XL", rgb8, "sRGB's curve", 3, jxl(8, 13), everyOrientation, steps(8),
         [] { return rgbOf(rec2020, srgbCurve().release()); }},
        {"JPEG XL", rgb16, "sRGB's curve", 3, jxl(16, 13), everyOrientation, steps(16),
         [] { return rgbOf(rec2020, srgbCurve().release()); }},
        {"JPEG XL", rgb8, "profile", 3, by({".jxl", 8, option("lossless", true), adobeRgbBytes()}),
         upright, steps(8), adobe},
        {"JPEG 2000", rgb8, none, 3, by({".jp2", 8, option("lossless", true)}), upright, steps(8)},
        {"GIF", "8 bits, palette", none, 3, by({".gif", 8, option("dither", 0.0)}), upright,
         steps(8)},
        {"PNG", "8 bits, palette", none, 3,
         by({".png", 8, [] { return VImage::option()->set("palette", true)->set("dither", 0.0); }}),
         everyOrientation, steps(8)},
        {"BMP", rgb8, none, 3, bmp, upright, steps(8)},
        {"OpenEXR", "half float, RGB", none, 3, openExr, upright, halfFloat, {}, true},
    });
    return all;
}

// What Little CMS makes of the fields in floating point, 0 to 255.
Values converted(const Values& values, const Profile& from, int channels, const Profile& to) {
    const bool isLab = cmsGetColorSpace(from.get()) == cmsSigLabData;
    const std::uint32_t in = isLab           ? TYPE_Lab_DBL
                             : channels == 1 ? TYPE_GRAY_DBL
                             : channels == 3 ? TYPE_RGB_DBL
                                             : TYPE_CMYK_DBL;
    const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
        cmsCreateTransform(from.get(), in, to.get(), TYPE_RGB_DBL, INTENT_RELATIVE_COLORIMETRIC,
                           cmsFLAGS_NOOPTIMIZE | cmsFLAGS_BLACKPOINTCOMPENSATION),
        &cmsDeleteTransform);
    Values scaled = values;
    for (double& value : scaled)
        value *= channels == 4 ? 100 : 1;
    Values result(fields * 3);
    cmsDoTransform(way.get(), scaled.data(), result.data(), fields);
    for (double& value : result)
        value = std::clamp(value, 0.0, 1.0) * 255;
    return result;
}

double encoded(double light) { // IEC 61966-2-1
    return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

// Random, 0 to 1, as a file of this depth holds them.
Values fieldsOf(const Case& of) {
    std::mt19937 random(7);
    Values values;
    for (int i = 0; i < fields * of.channels; ++i)
        values.push_back(of.held(static_cast<double>(random() % 65536) / 65535));
    return of.isLab ? inLab(values) : values;
}

// The table's line for a case, and its three largest differences of 255.
struct Line {
    std::string name;
    std::array<double, 3> worst{};
};

std::optional<Line> measured(const Case& of, const Bytes& target) {
    const Values values = fieldsOf(of);
    Values numbers = values; // on the page
    if (of.isLinear)
        std::ranges::transform(values, numbers.begin(), encoded);
    const Profile from = of.profile ? of.profile() : sourceProfile({}, of.channels);
    const auto onPaper = converted(numbers, from, of.channels, openProfile(target));
    const auto onScreen = converted(numbers, from, of.channels, srgbProfile());
    const auto onPage =
        of.isLab ? converted(numbers, from, 3, openProfile(wideGamutBytes())) : [&] {
            Values scaled = numbers;
            std::ranges::transform(scaled, scaled.begin(), [](double v) { return v * 255; });
            return scaled;
        }();
    Line line{.name = of.format + " | " + of.depth + " | " + of.meaning + " | " +
                      (of.orientations.size() == 1                     ? "1"
                       : of.orientations.size() == quarterTurns.size() ? "1, 3, 6, 8"
                                                                       : "1 to 8")};
    for (const int orientation : of.orientations) {
        const std::string file = of.make({orientation, of.channels, values});
        if (file.empty())
            return std::nullopt;
        const auto own = test::readRows(file);
        // It is the same rows that are converted, once.
        const bool isFirst = orientation == of.orientations.front();
        const auto paper = isFirst ? test::readRows(file, std::nullopt, Paper{target, 1}) : own;
        const auto screen = test::readRendition(file, strip.width);
        EXPECT_TRUE(own && paper && screen) << line.name << ", orientation " << orientation;
        if (!own || !paper || !screen)
            return line;
        EXPECT_EQ(own->size, strip) << line.name << ", orientation " << orientation;
        EXPECT_EQ(screen->size, strip) << line.name << ", orientation " << orientation;
        if (own->size != strip || screen->size != strip)
            return line;
        const auto note = [&](std::size_t column, double got, double expected) {
            line.worst[column] = std::max(line.worst[column], std::abs(got - expected));
        };
        for (int field = 0; field < fields; ++field) {
            const int x = field * side + side / 2;
            for (int c = 0; c < own->channels; ++c)
                note(0, own->at(x, side / 2, c) / (own->bits == 8 ? 1 : 257.0),
                     onPage[static_cast<std::size_t>(field * of.channels + c)]);
            const std::uint32_t word =
                screen->words[static_cast<std::size_t>(side / 2 * strip.width + x)];
            for (int c = 0; c < 3; ++c) {
                const auto i = static_cast<std::size_t>(field * 3 + c);
                note(1, word >> (16 - 8 * c) & 0xff, onScreen[i]);
                if (isFirst)
                    note(2, paper->at(x, side / 2, c), onPaper[i]);
            }
        }
    }
    return line;
}

TEST(FormatTable, holdsInEachLine) {
    std::ifstream stream(LUMIVERT_TREE "/docs/formats.md");
    const std::string document{std::istreambuf_iterator<char>(stream), {}};
    const Bytes target = test::profileBytes(test::TableRgb().profile());
    std::ostringstream table;
    table << std::fixed << std::setprecision(1);
    for (const Case& of : cases()) {
        const auto line = measured(of, target);
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
