#include "fakes/FakeBitmap.h"
#include "platform/pdf/PdfPageWriter.h"
#include "platform/pdf/PdfTestTools.h"
#include "platform/pdf/TestJpeg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace lumivert {
namespace {

class PdfImageTest : public testing::Test {
protected:
    // A page with the bitmap in its lower-left corner, checked.
    std::string page(const Bitmap& bitmap, const std::optional<PixelRect>& part = std::nullopt) {
        const std::string path = folder.path("page" + std::to_string(m_count++));
        EXPECT_EQ(writePage(path,
                            [&](TestPage& page) {
                                page.draw(bitmap, {10, 20, 50, 60}, part);
                            }),
                  path);
        EXPECT_EQ(faultsOf(path), "");
        return path;
    }

    static std::string imageOf(const std::string& path) {
        return objectText(path, objectHolding(path, "/Subtype /Image"));
    }

    TemporaryFolder folder;

private:
    int m_count = 0;
};

TEST_F(PdfImageTest, rowsComeBackBitForBit) {
    const std::pair<int, std::string> spaces[] = {
        {1, "/DeviceGray"}, {3, "/DeviceRGB"}, {4, "/DeviceCMYK"}};
    for (const auto& [channels, space] : spaces)
        for (const int bits : {8, 16})
            for (const PixelSize size :
                 {PixelSize{1, 1}, PixelSize{1, 37}, PixelSize{41, 1}, PixelSize{333, 97}}) {
                const RowFormat format{size, channels, bits, {}};
                const SharedBytes rows = sharedBytes(
                    noise(format.bytesPerRow() * static_cast<std::size_t>(size.height)));
                const std::string path = page(FakeBitmap(format, rows));
                const int image = objectHolding(path, "/Subtype /Image");
                SCOPED_TRACE(objectText(path, image));
                EXPECT_TRUE(decodedStream(path, image) == textOf(rows));
                const std::string text = objectText(path, image);
                EXPECT_THAT(text, testing::HasSubstr("/ColorSpace " + space));
                EXPECT_THAT(text, testing::HasSubstr("/Width " + std::to_string(size.width)));
                EXPECT_THAT(text, testing::HasSubstr("/Height " + std::to_string(size.height)));
                EXPECT_THAT(text, testing::HasSubstr("/Predictor 15"));
                EXPECT_THAT(text, testing::HasSubstr("/Interpolate true"));
                EXPECT_THAT(text, testing::Not(testing::HasSubstr("/Decode [")));
            }
}

// A pixel a point: nothing is scaled.
Bytes samplesOf(PixelSize size, const std::function<std::array<int, 3>(int x, int y)>& colorAt) {
    Bytes samples;
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x)
            for (const int sample : colorAt(x, y))
                samples.push_back(static_cast<std::byte>(sample));
    return samples;
}

TEST_F(PdfImageTest, aRendererShowsTheRowsAsTheyAre) {
    // Colours that no mistake of order, channel or prediction leaves alone.
    constexpr std::array<std::array<int, 3>, 4> colors{
        {{200, 60, 40}, {10, 220, 90}, {30, 50, 250}, {255, 0, 128}}};
    const Bytes pixels = samplesOf({50, 60}, [&](int x, int y) {
        return colors[static_cast<std::size_t>(x / 25 + 2 * (y / 30))];
    });
    const std::string path = page(FakeBitmap({{50, 60}, 3, 8, {}}, sharedBytes(pixels)));
    const Rendering shown = render(path);
    EXPECT_EQ(shown.at(22, 135), colors[0]);
    EXPECT_EQ(shown.at(47, 135), colors[1]);
    EXPECT_EQ(shown.at(22, 165), colors[2]);
    EXPECT_EQ(shown.at(47, 165), colors[3]);
    EXPECT_EQ(shown.at(5, 150), (std::array{255, 255, 255}));
    EXPECT_EQ(shown.at(62, 150), (std::array{255, 255, 255}));
}

TEST_F(PdfImageTest, rowsWithAProfileAreTaggedWithIt) {
    const std::string path =
        page(FakeBitmap({{3, 2}, 3, 16, profileHeader("RGB ")}, sharedBytes(noise(36))));
    const int profile = objectHolding(path, "/N 3");
    EXPECT_THAT(objectText(path, profile), testing::HasSubstr("/Alternate /DeviceRGB"));
    EXPECT_EQ(rawStream(path, profile), textOf(profileHeader("RGB ")));
    EXPECT_THAT(imageOf(path), testing::HasSubstr("/ColorSpace [ /ICCBased " +
                                                  std::to_string(profile) + " 0 R ]"));
}

TEST_F(PdfImageTest, aProfileOfAnotherSpaceIsNoTag) {
    const std::string path =
        page(FakeBitmap({{3, 2}, 3, 8, profileHeader("CMYK")}, sharedBytes(noise(18))));
    EXPECT_THAT(imageOf(path), testing::HasSubstr("/ColorSpace /DeviceRGB"));
    const std::string short_ =
        page(FakeBitmap({{3, 2}, 1, 8, bytesOf("no profile")}, sharedBytes(noise(6))));
    EXPECT_THAT(imageOf(short_), testing::HasSubstr("/ColorSpace /DeviceGray"));
}

TEST_F(PdfImageTest, rowsThatBreakOffLeaveNoFile) {
    for (const int row : {0, 1, 5, 96}) {
        FakeBitmap bitmap({{333, 97}, 3, 8, {}}, sharedBytes(noise(333 * 97 * 3)));
        bitmap.breakBefore = row;
        EXPECT_EQ(writePage(folder.path("broken.pdf"),
                            [&](TestPage& page) {
                                page.draw(bitmap, {0, 0, 10, 10});
                                page.whiteAreas = {{0, 0, 10, 10}};
                            }),
                  "")
            << row;
        EXPECT_TRUE(folder.isEmpty());
    }
}

// A bitmap whose pixels are only in its stream.
FakeBitmap embedded(JpegStream stream) {
    FakeBitmap bitmap({{1, 1}, 1, 8, {}}, sharedBytes(Bytes(1)));
    bitmap.jpeg = std::move(stream);
    return bitmap;
}

TEST_F(PdfImageTest, aJpegStreamIsEmbeddedByteForByte) {
    const Bytes jpeg = jpegOf({64, 48}, 3, noise(64 * 48 * 3));
    const FakeBitmap bitmap = embedded({sharedBytes(jpeg), {64, 48}, 1, 3, false, {}});
    const std::string path = page(bitmap);
    const int image = objectHolding(path, "/Subtype /Image");
    EXPECT_TRUE(rawStream(path, image) == textOf(sharedBytes(jpeg)));
    const std::string text = objectText(path, image);
    for (const char* entry : {"/Filter /DCTDecode", "/Width 64", "/Height 48",
                              "/BitsPerComponent 8", "/ColorSpace /DeviceRGB", "/Interpolate true"})
        EXPECT_THAT(text, testing::HasSubstr(entry));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("/Decode ")));
    EXPECT_TRUE(bitmap.asked.empty());
    EXPECT_EQ(contentOf(path), "q 50 0 0 60 10 20 cm /Im0 Do Q\n");
}

TEST_F(PdfImageTest, aJpegStreamWithAProfileIsTagged) {
    const std::pair<int, std::string> spaces[] = {{1, "GRAY"}, {3, "RGB "}, {4, "CMYK"}};
    for (const auto& [channels, space] : spaces) {
        const Bytes jpeg = jpegOf({8, 8}, channels, noise(64 * static_cast<std::size_t>(channels)));
        const std::string path =
            page(embedded({sharedBytes(jpeg), {8, 8}, 1, channels, false, profileHeader(space)}));
        const int profile = objectHolding(path, "/N " + std::to_string(channels));
        EXPECT_NE(profile, 0) << space;
        EXPECT_THAT(imageOf(path), testing::HasSubstr("[ /ICCBased " + std::to_string(profile)));
    }
}

TEST_F(PdfImageTest, aTargetTakesTheRowsInsteadOfTheStream) {
    FakeBitmap bitmap({{2, 2}, 3, 8, profileHeader("RGB ")}, sharedBytes(noise(12)));
    bitmap.jpeg = JpegStream{sharedBytes(jpegOf({2, 2}, 3, noise(12))), {2, 2}, 1, 3, false, {}};
    const auto space =
        std::make_shared<const ColorSpace>(ColorSpace{profileHeader("CMYK"), 4, true});
    const std::string path = folder.path("converted.pdf");
    ASSERT_EQ(writePage(path,
                        [&](TestPage& page) {
                            page.space = space;
                            page.draw(bitmap, {0, 0, 100, 100});
                        }),
              path);
    EXPECT_THAT(imageOf(path), testing::HasSubstr("/FlateDecode"));
    EXPECT_THAT(imageOf(path), testing::HasSubstr("/ColorSpace /DeviceCMYK"));
    // The pixels that the bitmap gives for that target.
    EXPECT_EQ(decodedStream(path, objectHolding(path, "/Subtype /Image")).size(), 16U);
}

TEST_F(PdfImageTest, aStreamOfNoSpaceThatAPageHasIsDrawnFromItsRows) {
    for (const int channels : {0, 2, 5}) {
        FakeBitmap bitmap({{2, 2}, 3, 8, {}}, sharedBytes(noise(12)));
        bitmap.jpeg = JpegStream{sharedBytes(noise(10)), {2, 2}, 1, channels, false, {}};
        EXPECT_THAT(imageOf(page(bitmap)), testing::HasSubstr("/FlateDecode"));
    }
}

// Six colours, three beside each other and two below, and how a camera stores them turned.
constexpr int blocksWide = 3;
constexpr int blocksHigh = 2;
constexpr int blockPixels = 16;
constexpr std::array<std::array<int, 3>, 6> blockColors{{
    {220, 30, 40},
    {40, 200, 60},
    {50, 70, 230},
    {240, 220, 40},
    {30, 30, 30},
    {200, 60, 210},
}};

// Where the upright block (x, y) stands in the stored picture: the sides of the scene that the
// first row and the first column show (CIPA DC-008, tag 0x0112).
std::pair<int, int> storedBlock(int orientation, int x, int y) {
    const int fromRight = blocksWide - 1 - x;
    const int fromBottom = blocksHigh - 1 - y;
    switch (orientation) {
    case 2:
        return {fromRight, y};
    case 3:
        return {fromRight, fromBottom};
    case 4:
        return {x, fromBottom};
    case 5:
        return {y, x};
    case 6:
        return {y, fromRight};
    case 7:
        return {fromBottom, fromRight};
    case 8:
        return {fromBottom, x};
    default:
        return {x, y};
    }
}

TEST_F(PdfImageTest, aTurnedStreamIsShownUpright) {
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const bool swaps = orientation >= 5;
        const PixelSize stored{(swaps ? blocksHigh : blocksWide) * blockPixels,
                               (swaps ? blocksWide : blocksHigh) * blockPixels};
        Bytes samples(static_cast<std::size_t>(stored.width * stored.height * 3));
        for (int y = 0; y < blocksHigh; ++y)
            for (int x = 0; x < blocksWide; ++x) {
                const auto [column, row] = storedBlock(orientation, x, y);
                for (int i = 0; i < blockPixels * blockPixels; ++i) {
                    const int px = column * blockPixels + i % blockPixels;
                    const int py = row * blockPixels + i / blockPixels;
                    for (int c = 0; c < 3; ++c)
                        samples[static_cast<std::size_t>((py * stored.width + px) * 3 + c)] =
                            static_cast<std::byte>(blockColors[static_cast<std::size_t>(
                                y * blocksWide + x)][static_cast<std::size_t>(c)]);
                }
            }
        const std::string path = page(
            embedded({sharedBytes(jpegOf(stored, 3, samples)), stored, orientation, 3, false, {}}));
        const Rendering shown = render(path, 144);
        // The picture covers (10, 20) to (60, 80) of a page 200 points high.
        for (int y = 0; y < blocksHigh; ++y)
            for (int x = 0; x < blocksWide; ++x) {
                const std::array<int, 3> color =
                    shown.at(2 * 10 + (2 * x + 1) * 100 / (2 * blocksWide),
                             2 * 120 + (2 * y + 1) * 120 / (2 * blocksHigh));
                for (std::size_t c = 0; c < 3; ++c)
                    EXPECT_NEAR(color[c],
                                blockColors[static_cast<std::size_t>(y * blocksWide + x)][c], 4)
                        << "orientation " << orientation << ", block " << x << ", " << y;
            }
    }
}

TEST_F(PdfImageTest, cmykStoredInvertedIsShownAsMeant) {
    // Cyan alone: 255, 0, 0, 0, or 0, 255, 255, 255 inverted.
    for (const bool inverted : {false, true}) {
        Bytes samples;
        for (int i = 0; i < 64; ++i)
            for (int c = 0; c < 4; ++c)
                samples.push_back(static_cast<std::byte>((c == 0) != inverted ? 255 : 0));
        const std::string path =
            page(embedded({sharedBytes(jpegOf({8, 8}, 4, samples)), {8, 8}, 1, 4, inverted, {}}));
        EXPECT_EQ(imageOf(path).find("/Decode [ 1 0 1 0 1 0 1 0 ]") != std::string::npos, inverted);
        const auto [red, green, blue] = render(path).at(35, 150);
        EXPECT_LT(red, 60) << inverted;
        EXPECT_GT(green, 120) << inverted;
        EXPECT_GT(blue, 180) << inverted;
    }
}

TEST_F(PdfImageTest, aCropFillsTheRectangle) {
    // Each pixel says where it is.
    const Bytes samples = samplesOf({100, 100}, [](int x, int y) {
        return std::array{2 * x, 2 * y, 77};
    });
    FakeBitmap bitmap({{100, 100}, 3, 8, {}}, sharedBytes(samples));
    bitmap.jpeg = JpegStream{sharedBytes(noise(10)), {100, 100}, 1, 3, false, {}};
    const std::string path = page(bitmap, PixelRect{25, 20, 50, 60});
    EXPECT_THAT(imageOf(path), testing::HasSubstr("/FlateDecode"));
    const Rendering shown = render(path);
    EXPECT_EQ(shown.at(10, 120), (std::array{50, 40, 77}));
    // The renderer may give the far sides a device pixel more.
    EXPECT_NEAR(shown.at(59, 120)[0], 148, 2);
    EXPECT_NEAR(shown.at(10, 179)[1], 158, 2);
}

TEST_F(PdfImageTest, rowsOfNoKindThatAPageHoldsLeaveNoFile) {
    for (const RowFormat& format :
         {RowFormat{{2, 2}, 2, 8, {}}, RowFormat{{2, 2}, 3, 4, {}}, RowFormat{{0, 2}, 3, 8, {}},
          RowFormat{{2, -1}, 3, 8, {}}, RowFormat{{2'000'000'000, 1}, 4, 16, {}}}) {
        const FakeBitmap bitmap(format, sharedBytes(noise(100)));
        EXPECT_EQ(writePage(folder.path("odd.pdf"),
                            [&](TestPage& page) {
                                page.draw(bitmap, {0, 0, 10, 10});
                            }),
                  "");
        EXPECT_TRUE(folder.isEmpty());
    }
}

} // namespace
} // namespace lumivert
