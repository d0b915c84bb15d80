#include "decoder/PhotoFacts.h"

#include "decoder/Jpeg.h"
#include "decoder/PlainPhotos.h"
#include "decoder/Profiles.h"
#include "decoder/TestPhotos.h"
#include "decoder/Tiff.h"
#include "platform/decoder/DecoderProtocol.h"

#include <gtest/gtest.h>

namespace lumivert::decoder {
namespace {

using test::asBytes;
using test::ExifBuilder;
using test::plain8;
using test::saved;

// Without any density: the Exif block that libvips writes is cut out.
std::string greyJpeg() {
    return test::withoutSegments(saved(plain8({8, 8}, {128}), ".jpg"), 0xe1);
}

std::string withJfif(const std::string& jpeg, int units, int x, int y) {
    const auto word = [](int value) {
        return std::string{static_cast<char>(value >> 8), static_cast<char>(value & 255)};
    };
    return jpeg.substr(0, 2) + std::string("\xff\xe0\0\x10JFIF\0\x01\x02", 11) +
           static_cast<char>(units) + word(x) + word(y) + std::string(2, '\0') + jpeg.substr(2);
}

// The photo's density, exactly but for the last digits: libvips counts by millimetres.
Density densityOfFile(const std::string& file) {
    const auto photo = openPhoto(asBytes(file), {});
    return photo ? photo->density : Density{0, 0};
}

int orientationOfFile(const std::string& file) {
    const auto photo = openPhoto(asBytes(file), {});
    return photo ? photo->orientation : 0;
}

std::string webpWith(const std::string& exif) {
    auto image = plain8({4, 4}, {9, 9, 9}).copy();
    const std::string block = std::string("Exif\0\0", 6) + exif;
    image.set("exif-data", nullptr, const_cast<char*>(block.data()), block.size());
    return saved(image, ".webp");
}

TEST(PhotoFacts, isSeventyTwoDotsPerInchWhereNothingIsStated) {
    const Density density = densityOfFile(greyJpeg());
    EXPECT_EQ(density.x, 72);
    EXPECT_EQ(density.y, 72);
}

TEST(PhotoFacts, readsJfifDotsPerInchAlongEachAxis) {
    const Density density = densityOfFile(withJfif(greyJpeg(), 1, 300, 150));
    EXPECT_EQ(density.x, 300);
    EXPECT_EQ(density.y, 150);
}

TEST(PhotoFacts, readsJfifDotsPerCentimetre) {
    EXPECT_NEAR(densityOfFile(withJfif(greyJpeg(), 2, 118, 118)).x, 299.72, 1e-9);
}

TEST(PhotoFacts, takesAJfifAspectRatioForNoDensity) {
    EXPECT_EQ(densityOfFile(withJfif(greyJpeg(), 0, 1, 1)).x, 72);
}

TEST(PhotoFacts, prefersExifDensityToJfif) {
    const ExifBuilder exif{
        .xResolution = {{240, 1}}, .yResolution = {{480, 2}}, .resolutionUnit = 2};
    const Density density =
        densityOfFile(test::withExif(withJfif(greyJpeg(), 1, 300, 300), exif.bytes()));
    EXPECT_EQ(density.x, 240);
    EXPECT_EQ(density.y, 240);
}

TEST(PhotoFacts, readsExifCentimetresInEitherByteOrder) {
    for (const bool littleEndian : {true, false}) {
        const ExifBuilder exif{.littleEndian = littleEndian,
                               .xResolution = {{100, 1}},
                               .yResolution = {{200, 1}},
                               .resolutionUnit = 3};
        const Density density = densityOfFile(test::withExif(greyJpeg(), exif.bytes()));
        EXPECT_NEAR(density.x, 254, 1e-9);
        EXPECT_NEAR(density.y, 508, 1e-9);
    }
}

TEST(PhotoFacts, takesExifDensityWithoutUnitAsPerInch) {
    const ExifBuilder exif{.xResolution = {{350, 1}}, .yResolution = {{350, 1}}};
    EXPECT_EQ(densityOfFile(test::withExif(greyJpeg(), exif.bytes())).x, 350);
}

TEST(PhotoFacts, fallsBackToJfifWhereExifStatesNoUsableDensity) {
    const std::string jpeg = withJfif(greyJpeg(), 1, 300, 300);
    const ExifBuilder relative{
        .xResolution = {{1, 1}}, .yResolution = {{1, 1}}, .resolutionUnit = 1};
    const ExifBuilder zero{.xResolution = {{0, 1}}, .yResolution = {{0, 0}}, .resolutionUnit = 2};
    EXPECT_EQ(densityOfFile(test::withExif(jpeg, relative.bytes())).x, 300);
    EXPECT_EQ(densityOfFile(test::withExif(jpeg, zero.bytes())).x, 300);
}

TEST(PhotoFacts, takesTheOtherAxisWhereOneIsUnusable) {
    const ExifBuilder exif{.xResolution = {{300, 1}}, .yResolution = {{1, 0}}, .resolutionUnit = 2};
    EXPECT_EQ(densityOfFile(test::withExif(greyJpeg(), exif.bytes())).y, 300);
}

TEST(PhotoFacts, readsPngPixelsPerMetre) {
    // Some versions of libvips write the same for both axes.
    std::string png = saved(plain8({4, 4}, {9}), ".png");
    const std::size_t at = png.find("pHYs");
    ASSERT_NE(at, std::string::npos);
    png.replace(at + 4, 8, std::string("\0\0\x2e\x23\0\0\x17\x12", 8)); // 11811 and 5906
    const Density density = densityOfFile(png);
    EXPECT_NEAR(density.x, 300, 0.01);
    EXPECT_NEAR(density.y, 150, 0.02);
}

TEST(PhotoFacts, readsARealOnePixelPerMillimetreFromPng) {
    const std::string png = saved(plain8({4, 4}, {9}), ".png");
    EXPECT_NEAR(densityOfFile(png).x, 25.4, 1e-9);
}

TEST(PhotoFacts, takesAPngAspectRatioForNoDensity) {
    std::string png = saved(plain8({4, 4}, {9}), ".png");
    const std::size_t at = png.find("pHYs");
    ASSERT_NE(at, std::string::npos);
    png[at + 12] = 0;
    EXPECT_EQ(densityOfFile(png).x, 72);
}

TEST(PhotoFacts, readsTiffPerInchAndPerCentimetre) {
    const auto image =
        plain8({4, 4}, {9}).copy(vips::VImage::option()->set("xres", 10.0)->set("yres", 20.0));
    for (const char* unit : {"inch", "cm"}) {
        const Density density =
            densityOfFile(saved(image, ".tif", vips::VImage::option()->set("resunit", unit)));
        EXPECT_NEAR(density.x, 254, 0.01) << unit;
        EXPECT_NEAR(density.y, 508, 0.01) << unit;
    }
}

TEST(PhotoFacts, readsDensityOfOtherContainersFromTheirExif) {
    const ExifBuilder exif{
        .xResolution = {{180, 1}}, .yResolution = {{180, 1}}, .resolutionUnit = 2};
    EXPECT_EQ(densityOfFile(webpWith(exif.bytes())).x, 180);
    EXPECT_EQ(densityOfFile(saved(plain8({4, 4}, {9, 9, 9}), ".webp[strip]")).x, 72);
}

TEST(PhotoFacts, knowsAdobeRgbByTheInteroperabilityIndexOnly) {
    const auto isAdobe = [](std::uint16_t space, const std::string& index) {
        const ExifBuilder exif{.colorSpace = space, .interoperabilityIndex = index};
        const std::string jpeg =
            test::withoutSegments(saved(plain8({8, 8}, {1, 2, 3}), ".jpg"), 0xe1);
        const auto photo = openPhoto(asBytes(test::withExif(jpeg, exif.bytes())), {});
        return photo && photo->profile == adobeRgbBytes();
    };
    EXPECT_TRUE(isAdobe(65535, std::string("R03\0", 4)));
    EXPECT_FALSE(isAdobe(65535, std::string("R98\0", 4)));
    EXPECT_FALSE(isAdobe(65535, ""));
    EXPECT_FALSE(isAdobe(1, std::string("R03\0", 4)));
}

TEST(PhotoFacts, ignoresAnOrientationThatDoesNotExist) {
    for (const std::uint16_t value : {0, 9, 65535}) {
        const ExifBuilder exif{.orientation = value};
        EXPECT_EQ(orientationOfFile(test::withExif(greyJpeg(), exif.bytes())), 1) << value;
    }
}

TEST(PhotoFacts, readsTheOrientationBehindThePixelsOfAPng) {
    const std::string png = saved(plain8({4, 2}, {9, 9, 9}), ".png[strip]");
    for (const std::uint16_t value : {1, 6, 9}) {
        const std::string early =
            test::pngWith(png, {{"eXIf", ExifBuilder{.orientation = value}.bytes()}});
        const std::string chunk = early.substr(33, early.size() - png.size());
        const std::string late =
            png.substr(0, png.size() - 12) + chunk + png.substr(png.size() - 12);
        for (const std::string& file : {early, late})
            EXPECT_EQ(test::readRows(file)->size,
                      value == 6 ? (PixelSize{2, 4}) : (PixelSize{4, 2}))
                << value;
        // Cut or changed, it says nothing or something else.
        for (std::size_t i = 0; i < chunk.size(); ++i) {
            std::string changed = late;
            changed[png.size() - 12 + i] ^= '\xff';
            (void)test::readRows(changed);
        }
    }
}

TEST(PhotoFacts, leavesTurningHeifToItsReader) {
    auto image = plain8({4, 4}, {9, 9, 9}).copy();
    image.set("orientation", 6);
    for (const PhotoFormat& format : photoFormats())
        EXPECT_EQ(orientationOf(format, {}, image), format.isTurnedByReader ? 1 : 6) << format.name;
}

TEST(PhotoFacts, survivesEveryTruncationAndEveryChangedByteOfExif) {
    const ExifBuilder exif{.orientation = 6,
                           .xResolution = {{300, 1}},
                           .yResolution = {{300, 1}},
                           .resolutionUnit = 2,
                           .colorSpace = 65535,
                           .interoperabilityIndex = std::string("R03\0", 4)};
    const std::string whole = exif.bytes();
    const auto check = [](const std::string& block) {
        const auto photo = openPhoto(asBytes(test::withExif(greyJpeg(), block)), {});
        ASSERT_TRUE(photo);
        EXPECT_GE(photo->orientation, 1);
        EXPECT_LE(photo->orientation, 8);
        EXPECT_TRUE(protocol::isUsable(photo->density.x));
        EXPECT_TRUE(protocol::isUsable(photo->density.y));
    };
    for (std::size_t length = 0; length <= whole.size(); ++length)
        check(whole.substr(0, length));
    for (std::size_t at = 0; at < whole.size(); ++at)
        for (const unsigned char value : {0x00, 0x7f, 0xff}) {
            std::string changed = whole;
            changed[at] = static_cast<char>(value);
            check(changed);
        }
}

TEST(PhotoFacts, tellsAPictureInTiffFromSensorData) {
    EXPECT_TRUE(readTiff(asBytes(saved(plain8({4, 4}, {9}), ".tif"))).isPicture);
    // DNGVersion in place of the tag that libvips wrote for the resolution's unit.
    std::string dng = saved(plain8({4, 4}, {9}), ".tif");
    const std::string unit("\x28\x01\x03\x00", 4);
    const std::size_t at = dng.find(unit);
    ASSERT_NE(at, std::string::npos);
    dng.replace(at, 12, std::string("\x12\xc6\x01\0\x04\0\0\0\x01\x04\0\0", 12));
    EXPECT_FALSE(readTiff(asBytes(dng)).isPicture);
}

TEST(JpegMarkers, tellsWhatAReaderOfPdfCanShow) {
    const auto of = [](const std::string& jpeg) {
        return readJpegMarkers(asBytes(jpeg)).value_or(JpegMarkers{});
    };
    const std::string baseline = saved(plain8({24, 16}, {1, 2, 3}), ".jpg");
    EXPECT_TRUE(of(baseline).embeddable);
    EXPECT_EQ(of(baseline).components, 3);
    EXPECT_TRUE(
        of(saved(plain8({8, 8}, {1, 2, 3}), ".jpg", vips::VImage::option()->set("interlace", true)))
            .embeddable);
    EXPECT_EQ(of(greyJpeg()).components, 1);

    std::string arithmetic = baseline;
    const std::size_t frame = arithmetic.find("\xff\xc0");
    ASSERT_NE(frame, std::string::npos);
    arithmetic[frame + 1] = '\xc9';
    EXPECT_FALSE(of(arithmetic).embeddable);
    std::string deep = baseline;
    deep[frame + 4] = 12;
    EXPECT_FALSE(of(deep).embeddable);
    std::string heightLater = baseline;
    heightLater[frame + 5] = heightLater[frame + 6] = 0;
    EXPECT_FALSE(of(heightLater).embeddable);
    std::string named = test::withoutSegments(baseline, 0xe0);
    const std::size_t bare = named.find("\xff\xc0");
    named[bare + 10] = 'R';
    named[bare + 13] = 'G';
    named[bare + 16] = 'B';
    EXPECT_FALSE(of(named).embeddable);
}

TEST(JpegMarkers, tellsWhereReadersWouldDisagreeAboutColours) {
    const std::string bare =
        test::withoutSegments(saved(plain8({24, 16}, {1, 2, 3}), ".jpg"), 0xe0);
    const std::string jfif = bare.substr(0, 2) +
                             std::string("\xff\xe0\0\x10JFIF\0\1\1\0\0\1\0\1\0\0", 18) +
                             bare.substr(2);
    const auto embeds = [](const std::string& jpeg, const std::vector<int>& transforms) {
        std::string segments;
        for (const int transform : transforms)
            segments += std::string("\xff\xee\0\x0e", 4) + "Adobe" +
                        std::string("\0\x64\0\0\0\0", 6) + static_cast<char>(transform);
        return readJpegMarkers(asBytes(jpeg.substr(0, 2) + segments + jpeg.substr(2)))->embeddable;
    };
    EXPECT_TRUE(embeds(jfif, {}));
    EXPECT_TRUE(embeds(jfif, {1}));
    EXPECT_FALSE(embeds(jfif, {0})) << "YCbCr by JFIF, RGB by Adobe";
    EXPECT_TRUE(embeds(bare, {}));
    EXPECT_TRUE(embeds(bare, {0})) << "RGB";
    EXPECT_TRUE(embeds(bare, {1}));
    EXPECT_FALSE(embeds(bare, {2})) << "four components' transform";
    EXPECT_FALSE(embeds(bare, {7})) << "nobody's";
    EXPECT_FALSE(embeds(bare, {0, 1})) << "one after the other";
    EXPECT_FALSE(embeds(bare, {0, 1, 1}));
}

TEST(JpegMarkers, survivesEveryTruncation) {
    const std::string jpeg = saved(plain8({8, 8}, {1, 2, 3}), ".jpg");
    int readable = 0;
    for (std::size_t length = 0; length < jpeg.size(); ++length)
        readable += readJpegMarkers(asBytes(jpeg.substr(0, length))) ? 1 : 0;
    EXPECT_GT(readable, 0);
    EXPECT_LT(readable, static_cast<int>(jpeg.size()));
}

} // namespace
} // namespace lumivert::decoder
