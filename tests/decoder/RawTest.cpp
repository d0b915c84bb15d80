#include "decoder/Photo.h"
#include "decoder/Profiles.h"
#include "decoder/TestPhotos.h"
#include "files/SensorPhoto.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <iterator>

namespace lumivert::decoder {
namespace {

using lumivert::test::SensorPhoto;
using test::asBytes;
using test::readRendition;
using test::readRows;
using Light = std::array<double, 3>;

// A chart of six fields side by side, the last of which is white.
constexpr std::array<Light, 6> chart{{{0.02, 0.02, 0.02},
                                      {0.5, 0.1, 0.1},
                                      {0.1, 0.4, 0.15},
                                      {0.08, 0.12, 0.6},
                                      {0.2, 0.2, 0.2},
                                      {1, 1, 1}}};
constexpr int fieldWidth = 40;
constexpr int chartHeight = 160;

SensorPhoto chartPhoto() {
    return {.width = fieldWidth * static_cast<int>(chart.size()),
            .height = chartHeight,
            .light = [](int x, int) { return chart[static_cast<std::size_t>(x / fieldWidth)]; },
            .sensitivity = {0.45, 1, 0.7},
            .lamp = {1.3, 1, 0.6}};
}

int middleOf(std::size_t field) {
    return static_cast<int>(field) * fieldWidth + fieldWidth / 2;
}

/// The curve of sRGB (IEC 61966-2-1), to 255.
double shown(double light) {
    return 255 * (light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055);
}

/// A pixel of rows of 16 bits as sRGB, to 255.
std::array<double, 3> asSrgb(const test::ReadRows& rows, int x, int y) {
    const Profile from = openProfile(rows.profile);
    const Profile to(cmsCreate_sRGBProfile());
    const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
        cmsCreateTransform(from.get(), TYPE_RGB_DBL, to.get(), TYPE_RGB_DBL,
                           INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE),
        &cmsDeleteTransform);
    std::array<double, 3> pixel{};
    for (int c = 0; c < 3; ++c)
        pixel[static_cast<std::size_t>(c)] = rows.at(x, y, c) / 65535.0;
    cmsDoTransform(way.get(), pixel.data(), pixel.data(), 1);
    for (double& value : pixel)
        value *= 255;
    return pixel;
}

TEST(CameraRaw, developsASensorsLightInItsWhiteBalance) {
    const auto rows = readRows(chartPhoto().bytes());
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->size, (PixelSize{240, 160}));
    ASSERT_EQ(rows->channels, 3);
    EXPECT_EQ(rows->bits, 16);
    EXPECT_EQ(rows->profile, wideGamutBytes());
    for (std::size_t field = 0; field < chart.size(); ++field) {
        const auto pixel = asSrgb(*rows, middleOf(field), 80);
        for (std::size_t c = 0; c < 3; ++c)
            EXPECT_NEAR(pixel[c], shown(chart[field][c]), 1.5) << field << ' ' << c;
    }
}

TEST(CameraRaw, developsHalfTheSizeWhereThatIsEnoughForTheScreen) {
    const std::string file = chartPhoto().bytes();
    const auto half = openPhoto(asBytes(file), {.screenEdge = 120});
    ASSERT_TRUE(half);
    EXPECT_EQ(half->pixels.width(), 120);
    EXPECT_EQ(half->storedSize, (PixelSize{240, 160}));
    const auto whole = openPhoto(asBytes(file), {.screenEdge = 121});
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->pixels.width(), 240);

    for (const int edge : {60, 120, 200}) {
        SCOPED_TRACE(edge);
        const auto rendition = readRendition(file, edge);
        ASSERT_TRUE(rendition);
        EXPECT_EQ(rendition->size.width, edge);
        for (std::size_t field = 0; field < chart.size(); ++field) {
            const int x = middleOf(field) * edge / 240;
            const int y = rendition->size.height / 2;
            const std::uint32_t word =
                rendition->words[static_cast<std::size_t>(y * rendition->size.width + x)];
            for (std::size_t c = 0; c < 3; ++c)
                EXPECT_NEAR(word >> (16 - 8 * c) & 0xff, shown(chart[field][c]), 2)
                    << field << ' ' << c;
        }
    }
}

TEST(CameraRaw, keepsTheWhiteThatTheScreenWasShownWith) {
    SensorPhoto dim = chartPhoto();
    dim.light = [](int x, int) {
        Light light = chart[static_cast<std::size_t>(x / fieldWidth)];
        for (double& value : light)
            value *= 0.5;
        return light;
    };
    const std::string file = dim.bytes();
    const auto screen = openPhoto(asBytes(file), {.screenEdge = 100});
    ASSERT_TRUE(screen);
    EXPECT_NEAR(screen->rawWhite, 32768, 64);
    const auto paper = openPhoto(asBytes(file), {.rawWhite = 40000});
    ASSERT_TRUE(paper);
    EXPECT_EQ(paper->rawWhite, 40000);
    const auto white = paper->pixels.getpoint(middleOf(5), 80);
    EXPECT_NEAR(white[1], 65535 * std::pow(0.5 * 65535 / 40000, 1 / 1.8), 100);
}

TEST(CameraRaw, turnsUpright) {
    struct Turn {
        int orientation;
        PixelSize size;
        std::array<int, 2> corner; // where the stored first pixel comes to lie
    };
    for (const Turn& turn : {Turn{1, {48, 32}, {0, 0}}, Turn{3, {48, 32}, {47, 31}},
                             Turn{6, {32, 48}, {31, 0}}, Turn{8, {32, 48}, {0, 47}}}) {
        SCOPED_TRACE(turn.orientation);
        SensorPhoto photo{.width = 48, .height = 32, .orientation = turn.orientation};
        photo.light = [](int x, int y) {
            return x < 12 && y < 12 ? Light{1, 1, 1} : Light{0.05, 0.05, 0.05};
        };
        const auto rows = readRows(photo.bytes());
        ASSERT_TRUE(rows);
        ASSERT_EQ(rows->size, turn.size);
        for (const int x : {0, turn.size.width - 1})
            for (const int y : {0, turn.size.height - 1}) {
                const bool isCorner = x == turn.corner[0] && y == turn.corner[1];
                EXPECT_EQ(rows->at(x, y, 1) > 50000, isCorner) << x << ' ' << y;
            }
    }
}

TEST(CameraRaw, developsASensorWithoutColoursAsGrey) {
    SensorPhoto photo = chartPhoto();
    photo.filters = SensorPhoto::monochrome;
    const std::string file = photo.bytes();
    const auto rows = readRows(file);
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->size, (PixelSize{240, 160}));
    ASSERT_EQ(rows->channels, 1);
    EXPECT_EQ(rows->bits, 16);
    EXPECT_EQ(rows->profile, plainGreyBytes());
    const auto rendition = readRendition(file, 240);
    ASSERT_TRUE(rendition);
    for (std::size_t field = 0; field < chart.size(); ++field) {
        const double light = chart[field][1];
        EXPECT_NEAR(rows->at(middleOf(field), 80, 0), 65535 * std::pow(light, 1 / 1.8), 200)
            << field;
        const std::uint32_t word =
            rendition->words[static_cast<std::size_t>(80 * 240 + middleOf(field))];
        for (const int shift : {16, 8, 0})
            EXPECT_NEAR(word >> shift & 0xff, shown(light), 2) << field;
    }
}

TEST(CameraRaw, makesOblongPixelsSquare) {
    struct Shape {
        double aspect;
        PixelSize size;
    };
    // LibRaw takes what is within half a percent of square for square.
    for (const Shape& shape :
         {Shape{2, {480, 160}}, Shape{0.5, {240, 320}}, Shape{0.99, {240, 162}},
          Shape{1.01, {242, 160}}, Shape{0.996, {240, 160}}, Shape{1.004, {240, 160}}}) {
        SCOPED_TRACE(shape.aspect);
        SensorPhoto photo = chartPhoto();
        photo.pixelAspect = shape.aspect;
        const std::string file = photo.bytes();
        const auto rows = readRows(file);
        ASSERT_TRUE(rows);
        ASSERT_EQ(rows->size, shape.size);
        for (std::size_t field = 0; field < chart.size(); ++field)
            for (const int y : {2, shape.size.height - 3}) {
                const auto pixel = asSrgb(*rows, middleOf(field) * shape.size.width / 240, y);
                for (std::size_t c = 0; c < 3; ++c)
                    EXPECT_NEAR(pixel[c], shown(chart[field][c]), 1.5) << field << ' ' << y;
            }
        // Half the size for the screen, of the same proportions and as the same photo.
        const auto half = openPhoto(asBytes(file), {.screenEdge = 100});
        ASSERT_TRUE(half);
        EXPECT_EQ(half->storedSize, shape.size);
        EXPECT_NEAR(half->pixels.width(), shape.size.width / 2.0, 1);
        EXPECT_NEAR(half->pixels.height(), shape.size.height / 2.0, 1);
    }
}

TEST(CameraRaw, turnsOblongPixelsUpright) {
    SensorPhoto photo = chartPhoto();
    photo.pixelAspect = 2;
    photo.orientation = 6;
    const auto rows = readRows(photo.bytes());
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->size, (PixelSize{160, 480}));
    EXPECT_GT(rows->at(80, 470, 1), 65000); // the white field's end
}

struct Form {
    const char* name;
    SensorPhoto::Filters filters;
    SensorPhoto::Coding coding;
    int bits;
};

std::vector<Form> everyForm() {
    std::vector<Form> forms;
    for (const auto& [name, filters] : {std::pair("Bayer", SensorPhoto::bayer),
                                        {"X-Trans", SensorPhoto::xTrans},
                                        {"linear", SensorPhoto::linear},
                                        {"monochrome", SensorPhoto::monochrome}})
        for (const int bits : {12, 14, 16})
            for (const auto coding :
                 {SensorPhoto::words, SensorPhoto::packed, SensorPhoto::losslessJpeg})
                // Packed, those of 16 bits are words. X-Trans takes long: each coding once.
                if ((coding != SensorPhoto::packed || bits < 16) &&
                    (filters != SensorPhoto::xTrans ||
                     coding == (bits == 12   ? SensorPhoto::packed
                                : bits == 14 ? SensorPhoto::losslessJpeg
                                             : SensorPhoto::words)))
                    forms.push_back({name, filters, coding, bits});
    return forms;
}

SensorPhoto photoOf(const Form& form) {
    SensorPhoto photo = chartPhoto();
    photo.filters = form.filters;
    if (form.filters == SensorPhoto::xTrans) { // LibRaw wants 512 pixels a side
        photo.width = 6 * 96;
        photo.height = 528;
        photo.light = [](int x, int) { return chart[static_cast<std::size_t>(x / 96)]; };
    }
    photo.coding = form.coding;
    photo.bits = form.bits;
    return photo;
}

TEST(CameraRaw, developsBayerXTransAndLinearOnesOfEveryDepthAndCoding) {
    for (const Form& form : everyForm()) {
        SCOPED_TRACE(form.name + (" of " + std::to_string(form.bits)) + " bits, coding " +
                     std::to_string(form.coding));
        const auto rows = readRows(photoOf(form).bytes());
        ASSERT_TRUE(rows);
        const int fieldSide = rows->size.width / static_cast<int>(chart.size());
        ASSERT_EQ(rows->size, (fieldSide == 96 ? PixelSize{576, 528} : PixelSize{240, 160}));
        const bool isGrey = form.filters == SensorPhoto::monochrome;
        ASSERT_EQ(rows->channels, isGrey ? 1 : 3);
        for (std::size_t field = 0; field < chart.size(); ++field) {
            const Light& light = chart[field];
            if (isGrey) {
                EXPECT_NEAR(rows->at(middleOf(field), 80, 0), 65535 * std::pow(light[1], 1 / 1.8),
                            400)
                    << field;
                continue;
            }
            const auto pixel =
                asSrgb(*rows, static_cast<int>(field) * fieldSide + fieldSide / 2, 80);
            for (std::size_t c = 0; c < 3; ++c)
                EXPECT_NEAR(pixel[c], shown(light[c]), 1.5) << field << ' ' << c;
        }
    }
}

/// What LibRaw's own program makes of a file: linear light of ROMM's primaries, of 16 bits.
struct Developed {
    std::size_t width = 0;
    std::size_t height = 0;
    std::string samples;
};

std::optional<Developed> developedByDcraw(const std::string& file) {
    const TemporaryFolder folder;
    const std::string path = folder.write("photo.dng", file);
    if (std::system(
            ("OMP_NUM_THREADS=1 dcraw_emu -4 -w -o 4 '" + path + "' >/dev/null 2>&1").c_str()) != 0)
        return std::nullopt;
    for (const char* ending : {".ppm", ".pgm"}) {
        std::ifstream stream(path + ending, std::ios::binary);
        std::string magic;
        Developed result;
        int most = 0;
        if (!(stream >> magic >> result.width >> result.height >> most) || most != 65535)
            continue;
        stream.get();
        result.samples.assign(std::istreambuf_iterator<char>(stream), {});
        return result;
    }
    return std::nullopt;
}

// LibRaw 0.21 makes something else of an X-Trans sensor at each run where it has several threads.
void useOneThreadInLibRaw() {
    if (auto* set = ::dlsym(RTLD_DEFAULT, "omp_set_num_threads"))
        reinterpret_cast<void (*)(int)>(set)(1);
}

void expectAsDcrawHasIt(const std::string& file) {
    const auto photo = openPhoto(asBytes(file), {});
    const auto rows = readRows(file);
    const auto theirs = developedByDcraw(file);
    ASSERT_TRUE(photo && rows && theirs);
    ASSERT_EQ(rows->size,
              (PixelSize{static_cast<int>(theirs->width), static_cast<int>(theirs->height)}));
    ASSERT_EQ(rows->samples.size(), theirs->samples.size());
    double worst = 0;
    for (std::size_t i = 0; i < theirs->samples.size(); i += 2) {
        const auto number = [&](const auto& bytes) {
            return (static_cast<int>(bytes[i]) & 255) << 8 | (static_cast<int>(bytes[i + 1]) & 255);
        };
        const double light = std::min(1.0, number(theirs->samples) / photo->rawWhite);
        worst = std::max(worst, std::abs(number(rows->samples) - 65535 * std::pow(light, 1 / 1.8)));
    }
    EXPECT_LE(worst, 1);
}

// Highlights, black levels and orientation among them.
TEST(CameraRaw, isWhatDcrawEmuMakesOfIt) {
    if (std::system("command -v dcraw_emu >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "dcraw_emu is not installed";
    useOneThreadInLibRaw();
    const auto brightChart = [](int x, int y) {
        Light light = chart[static_cast<std::size_t>(x / fieldWidth) % chart.size()];
        // Beyond what the sensor holds, in some of its colours, and from one pixel to the next.
        for (double& value : light)
            value *= y < 80 ? 1.7 : 0.9 + (x * 7 + y * 3) % 11 * 0.01;
        return light;
    };
    for (const Form& form : everyForm()) {
        SCOPED_TRACE(form.name + (" of " + std::to_string(form.bits)) + " bits, coding " +
                     std::to_string(form.coding));
        SensorPhoto photo = photoOf(form);
        photo.light = brightChart;
        expectAsDcrawHasIt(photo.bytes());
    }
    for (const int orientation : {3, 6, 8}) {
        SCOPED_TRACE(orientation);
        SensorPhoto photo = chartPhoto();
        photo.light = brightChart;
        photo.orientation = orientation;
        expectAsDcrawHasIt(photo.bytes());
    }
}

TEST(CameraRaw, developsMakersOwnFiles) {
    if (std::system("command -v dcraw_emu >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "dcraw_emu is not installed";
    SensorPhoto photo = chartPhoto();
    for (const auto container : {SensorPhoto::plain, SensorPhoto::ownMagic,
                                 SensorPhoto::nextDirectory, SensorPhoto::belowDirectory}) {
        SCOPED_TRACE(container);
        photo.container = container;
        expectAsDcrawHasIt(photo.bytes());
    }
}

// Of a camera, and of one directory more.
TEST(CameraRaw, isNoPictureThatAMaskFollows) {
    SensorPhoto mask{.width = 24, .height = 30, .light = [](int, int) { return Light{1, 1, 1}; }};
    mask.container = SensorPhoto::nextDirectory;
    const auto rows = readRows(mask.bytes());
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->at(5, 5, 0), 0x60);
}

// docs/colour.md: of the brightest channel one pixel in a hundred lies above the white.
TEST(CameraRaw, hasTheWhiteOfTheBrightestHundredthOfItsPixels) {
    SensorPhoto photo = chartPhoto();
    photo.sensitivity = photo.lamp = {1, 1, 1};
    photo.filters = SensorPhoto::linear;
    for (const auto& [share, white] : {std::pair(0.005, 0.4), {0.03, 0.8}}) {
        photo.light = [bright = share * 240 * 160](int x, int y) {
            // LibRaw takes the greatest number that there is for what the sensor holds.
            const double light = x + y == 0 ? 1 : y * 240 + x < bright ? 0.8 : 0.4;
            return Light{light, light, light};
        };
        const auto opened = openPhoto(asBytes(photo.bytes()), {});
        ASSERT_TRUE(opened);
        EXPECT_NEAR(opened->rawWhite / 65535, white, 0.002) << share;
    }
}

TEST(CameraRaw, cropsTheDevelopedPhoto) {
    const auto rows = readRows(chartPhoto().bytes(), PixelRect{200, 60, 40, 10});
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size, (PixelSize{40, 10}));
    EXPECT_GT(rows->at(20, 5, 0), 65000);
}

TEST(CameraRaw, thatBreaksOffDoesNotLoad) {
    const std::string file = chartPhoto().bytes();
    EXPECT_FALSE(readRows(file.substr(0, file.size() / 2)));
}

} // namespace
} // namespace lumivert::decoder
