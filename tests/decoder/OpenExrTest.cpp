#include "decoder/PlainPhotos.h"
#include "decoder/Profiles.h"
#include "files/ExrWriter.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace lumivert::decoder {
namespace {

using lumivert::test::ExrWriter;
using test::readRendition;
using test::readRows;

constexpr int width = 45;
constexpr int height = 37;
constexpr ExrWriter::Window whole{0, 0, width - 1, height - 1};

// A channel's light, from below black to above white.
float light(int x, int y, int channel) {
    return static_cast<float>((x * 31 + y * 17 + channel * 41) % 128 - 8) / 100;
}

int encoded(double value) {
    const double v = std::clamp(value, 0.0, 1.0);
    return static_cast<int>(
        std::lround(65535 * (v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055)));
}

// Half floats have eleven bits: half a step of the last is up to 1/4096 of the light.
void expectRead(const std::string& file, int channels) {
    const auto rows = readRows(file);
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size, (PixelSize{width, height}));
    ASSERT_EQ(rows->channels, channels);
    ASSERT_EQ(rows->bits, 16);
    double worst = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c)
                worst =
                    std::max<double>(worst, std::abs(rows->at(x, y, c) - encoded(light(x, y, c))));
    EXPECT_LE(worst, 12);
    EXPECT_TRUE(readRendition(file, 64));
}

TEST(OpenExr, isReadInEveryForm) {
    for (const bool isTiled : {false, true})
        for (const bool isFromTheBottom : {false, true})
            for (const bool areHalves : {false, true}) {
                SCOPED_TRACE(isTiled);
                SCOPED_TRACE(areHalves);
                ExrWriter writer{.display = whole};
                writer.areHalves = areHalves;
                writer.isTiled = isTiled;
                writer.isFromTheBottom = isFromTheBottom;
                expectRead(writer.bytes(light), 3);
            }
}

TEST(OpenExr, isReadWithEveryCompression) {
    constexpr std::array lossless{0, 1, 2, 3, 4}; // none, RLE, ZIPS, ZIP, PIZ
    for (const int compression : lossless) {
        SCOPED_TRACE(compression);
        ExrWriter writer{.display = whole};
        writer.compression = compression;
        expectRead(writer.bytes(light), 3);
    }
    constexpr std::array lossy{5, 6, 7, 8, 9}; // PXR24, B44, B44A, DWAA, DWAB
    for (const int compression : lossy) {
        SCOPED_TRACE(compression);
        ExrWriter writer{.display = whole};
        writer.compression = compression;
        const auto rows = readRows(writer.bytes([](int, int, int) { return 0.5F; }));
        ASSERT_TRUE(rows);
        EXPECT_NEAR(rows->at(20, 20, 1), encoded(0.5), 300);
    }
}

TEST(OpenExr, ofLuminanceAloneIsGrey) {
    ExrWriter writer{.display = whole};
    writer.channels = {"Y"};
    expectRead(writer.bytes(light), 1);
}

TEST(OpenExr, withoutWhatAHeaderMustHaveIsRefused) {
    const std::string file =
        ExrWriter{.display = {0, 0, 7, 7}}.bytes([](int, int, int) { return 0.5F; });
    ASSERT_TRUE(readRows(file));
    for (const char* attribute : {"dataWindow", "displayWindow", "lineOrder", "pixelAspectRatio",
                                  "screenWindowCenter", "screenWindowWidth"}) {
        std::string other = file;
        other.at(other.find(attribute)) = 'x';
        EXPECT_FALSE(readRows(other)) << attribute;
    }
}

TEST(OpenExr, withoutColoursIsRefused) {
    ExrWriter writer{.display = whole};
    writer.channels = {"Z"};
    EXPECT_FALSE(readRows(writer.bytes(light)));
    writer.channels = {"A"};
    EXPECT_FALSE(readRows(writer.bytes(light)));
}

TEST(OpenExr, liesOnWhiteWhereItHasAlpha) {
    ExrWriter writer{.display = {0, 0, 0, 0}};
    writer.channels = {"R", "G", "B", "A"};
    constexpr std::array premultiplied{0.25F, 0.F, 2.F, 0.5F};
    const auto rows = readRows(writer.bytes(
        [&](int, int, int channel) { return premultiplied[static_cast<std::size_t>(channel)]; }));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->channels, 3);
    EXPECT_NEAR(rows->at(0, 0, 0), encoded(0.75), 1);
    EXPECT_NEAR(rows->at(0, 0, 1), encoded(0.5), 1);
    EXPECT_EQ(rows->at(0, 0, 2), 65535);
}

TEST(OpenExr, isBlackWhereItHasNoNumber) {
    ExrWriter writer{.display = {0, 0, 0, 0}};
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const std::array values{std::numeric_limits<float>::quiet_NaN(), infinity, -infinity};
    const auto rows = readRows(writer.bytes(
        [&](int, int, int channel) { return values[static_cast<std::size_t>(channel)]; }));
    ASSERT_TRUE(rows);
    EXPECT_EQ((std::array{rows->at(0, 0, 0), rows->at(0, 0, 1), rows->at(0, 0, 2)}),
              (std::array{0, 65535, 0}));
}

// What lies outside is cut, what is missing is white.
TEST(OpenExr, showsItsDisplayWindow) {
    for (const bool isTiled : {false, true}) {
        ExrWriter writer{.display = {-3, 10, 16, 29}};
        writer.data = {-20, 14, 10, 50};
        writer.isTiled = isTiled;
        const auto value = [](int x, int y, int) { return x >= 0 && y >= 20 ? 0.F : 0.25F; };
        const auto rows = readRows(writer.bytes(value));
        ASSERT_TRUE(rows);
        ASSERT_EQ(rows->size, (PixelSize{20, 20}));
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 20; ++x) {
                const bool isHeld = x - 3 <= 10 && y + 10 >= 14;
                ASSERT_NEAR(rows->at(x, y, 1), isHeld ? encoded(value(x - 3, y + 10, 0)) : 65535, 1)
                    << x << ' ' << y;
            }
    }
    ExrWriter elsewhere{.display = {0, 0, 4, 4}};
    elsewhere.data = {100, 100, 110, 110};
    const auto rows = readRows(elsewhere.bytes(light));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->at(2, 2, 0), 65535);
}

TEST(OpenExr, takesItsChromaticitiesForAProfile) {
    ExrWriter writer{.display = {0, 0, 0, 0}};
    const auto plain = [](int, int, int) { return 0.25F; };
    EXPECT_TRUE(readRows(writer.bytes(plain))->profile.empty());
    struct Space {
        const char* name;
        std::vector<float> chromaticities;
    };
    for (const Space& space :
         {Space{"Rec. 2020", {0.708F, 0.292F, 0.17F, 0.797F, 0.131F, 0.046F, 0.3127F, 0.329F}},
          Space{"ACES AP0", {0.7347F, 0.2653F, 0.F, 1.F, 0.0001F, -0.077F, 0.32168F, 0.33767F}}}) {
        SCOPED_TRACE(space.name);
        writer.chromaticities = space.chromaticities;
        const auto rows = readRows(writer.bytes(plain));
        ASSERT_TRUE(rows);
        EXPECT_NEAR(rows->at(0, 0, 0), encoded(0.25), 1);
        const Profile profile = openProfile(rows->profile);
        ASSERT_EQ(channelsOf(profile), 3);
        // Each of its primaries lies where it was stated, adapted to D50; equal parts are grey.
        const Profile xyz(cmsCreateXYZProfile());
        const std::unique_ptr<void, void (*)(cmsHTRANSFORM)> way(
            cmsCreateTransform(profile.get(), TYPE_RGB_DBL, xyz.get(), TYPE_XYZ_DBL,
                               INTENT_ABSOLUTE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE),
            &cmsDeleteTransform);
        ASSERT_TRUE(way);
        for (std::size_t i = 0; i < 3; ++i) {
            std::array<double, 3> color{};
            color[i] = 1;
            cmsCIEXYZ got{};
            cmsDoTransform(way.get(), color.data(), &got, 1);
            const cmsCIExyY stated{space.chromaticities[2 * i], space.chromaticities[2 * i + 1], 1};
            const cmsCIExyY white{space.chromaticities[6], space.chromaticities[7], 1};
            cmsCIEXYZ from{};
            cmsCIEXYZ fromWhite{};
            cmsCIEXYZ expected{};
            cmsxyY2XYZ(&from, &stated);
            cmsxyY2XYZ(&fromWhite, &white);
            cmsAdaptToIlluminant(&expected, &fromWhite, cmsD50_XYZ(), &from);
            const double sum = got.X + got.Y + got.Z;
            const double expectedSum = expected.X + expected.Y + expected.Z;
            EXPECT_NEAR(got.X / sum, expected.X / expectedSum, 0.002) << i;
            EXPECT_NEAR(got.Y / sum, expected.Y / expectedSum, 0.002) << i;
        }
    }
}

TEST(OpenExr, statesItsDensity) {
    ExrWriter writer{.display = {0, 0, 3, 3}};
    writer.density = 240;
    writer.pixelAspectRatio = 0.5F;
    const std::string file = writer.bytes(light);
    const auto photo = openPhoto(test::asBytes(file), {});
    ASSERT_TRUE(photo);
    EXPECT_NEAR(photo->density.x, 240, 0.01);
    EXPECT_NEAR(photo->density.y, 120, 0.01);
    writer.density = 0;
    const std::string silent = writer.bytes(light);
    EXPECT_EQ(openPhoto(test::asBytes(silent), {})->density.y, 72);
}

TEST(OpenExr, thatBreaksOffDoesNotLoad) {
    for (const bool isTiled : {false, true})
        for (const int compression : {0, 3, 4}) {
            ExrWriter writer{.display = whole};
            writer.isTiled = isTiled;
            writer.compression = compression;
            const std::string file = writer.bytes(light);
            ASSERT_TRUE(readRows(file));
            for (const std::size_t size : {file.size() - 1, file.size() - 40, file.size() / 2,
                                           std::size_t{300}, std::size_t{9}}) {
                EXPECT_FALSE(readRows(file.substr(0, size))) << size;
                EXPECT_FALSE(readRendition(file.substr(0, size), 64)) << size;
                // Filled up with zeros.
                std::string zeros = file.substr(0, size);
                zeros.resize(file.size());
                if (compression != 0 && size + 40 < file.size()) {
                    EXPECT_FALSE(readRows(zeros)) << size;
                }
            }
        }
}

} // namespace
} // namespace lumivert::decoder
