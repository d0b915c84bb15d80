#include "fakes/FakeBitmap.h"
#include "platform/pdf/PdfFileContextFactory.h"
#include "platform/pdf/PdfTestTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivert {
namespace {

class PdfImageTest : public testing::Test {
protected:
    // A page with the bitmap in its lower-left corner, checked.
    std::string page(const Bitmap& bitmap,
                     InterpolationQuality quality = InterpolationQuality::high) {
        const std::string path = folder.path("page" + std::to_string(m_count++));
        EXPECT_EQ(writePage(path,
                            [&](PdfContext& pdf) {
                                pdf.setInterpolationQuality(quality);
                                pdf.draw(bitmap, {10, 20, 50, 60});
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

TEST_F(PdfImageTest, aRendererShowsTheRowsAsTheyAre) {
    // Colours that no mistake of order, channel or prediction leaves alone.
    const Bytes pixels = {std::byte{200}, std::byte{60},  std::byte{40}, std::byte{10},
                          std::byte{220}, std::byte{90},  std::byte{30}, std::byte{50},
                          std::byte{250}, std::byte{255}, std::byte{0},  std::byte{128}};
    const std::string path =
        page(FakeBitmap({{2, 2}, 3, 8, {}}, sharedBytes(pixels)), InterpolationQuality::none);
    EXPECT_THAT(imageOf(path), testing::Not(testing::HasSubstr("/Interpolate")));
    const Rendering shown = render(path);
    EXPECT_EQ(shown.at(22, 135), (std::array{200, 60, 40}));
    EXPECT_EQ(shown.at(47, 135), (std::array{10, 220, 90}));
    EXPECT_EQ(shown.at(22, 165), (std::array{30, 50, 250}));
    EXPECT_EQ(shown.at(47, 165), (std::array{255, 0, 128}));
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
                            [&](PdfContext& pdf) {
                                pdf.draw(bitmap, {0, 0, 10, 10});
                                pdf.setFillColorRGB(1, 1, 1);
                                pdf.fillRect({0, 0, 10, 10});
                            }),
                  "")
            << row;
        EXPECT_TRUE(folder.isEmpty());
    }
}

} // namespace
} // namespace lumivert
