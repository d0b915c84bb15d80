#include "platform/pdf/PdfPageWriter.h"

#include "fakes/FakeBitmap.h"
#include "model/Models.h"
#include "platform/pdf/PdfTestTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <filesystem>
#include <limits>

namespace lumivert {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

FakeBitmap smallBitmap() {
    return {RowFormat{{2, 2}, 3, 8, {}}, sharedBytes(noise(12))};
}

std::shared_ptr<const ColorSpace> colorSpace(const std::string& space, int channels,
                                             bool isDestination = true) {
    return std::make_shared<const ColorSpace>(
        ColorSpace{profileHeader(space), channels, isDestination});
}

class PdfPageWriterTest : public testing::Test {
protected:
    std::string page(const std::function<void(TestPage&)>& draw) {
        std::string written = writePage(folder.path("page" + std::to_string(m_count++)), draw);
        EXPECT_NE(written, "");
        EXPECT_EQ(faultsOf(written), "");
        return written;
    }

    TemporaryFolder folder;

private:
    int m_count = 0;
};

TEST_F(PdfPageWriterTest, anEmptyPageIsAFileWithoutFault) {
    const std::string path = page([](TestPage&) {});
    EXPECT_EQ(contentOf(path), "");
    EXPECT_EQ(readFileText(path).substr(0, 9), "%PDF-1.7\n");
    EXPECT_EQ(runCommand("qpdf --show-npages '" + path + "'").output, "1\n");
}

TEST_F(PdfPageWriterTest, thePageCarriesJustItsMediaBox) {
    const std::string path = folder.path("a4.pdf");
    ASSERT_TRUE(writePdfPage(path, {.size = {210 * 72.0 / 25.4, 297 * 72.0 / 25.4}}));
    EXPECT_EQ(faultsOf(path), "");
    const std::string pageText = objectText(path, objectHolding(path, "/Type /Page "));
    EXPECT_THAT(pageText,
                testing::HasSubstr("/MediaBox [ 0 0 595.2755905511812 841.8897637795276 ]"));
    for (const char* other : {"/CropBox", "/Rotate", "/UserUnit", "/TrimBox", "/Group"})
        EXPECT_THAT(pageText, testing::Not(testing::HasSubstr(other)));
}

// White shows over a photo.
TEST_F(PdfPageWriterTest, fillsOneRectangleAnArea) {
    const FakeBitmap black({{1, 1}, 1, 8, {}}, sharedBytes(Bytes(1)));
    const std::string path = page([&](TestPage& page) {
        page.draw(black, {0, 0, 100, 200});
        page.whiteAreas = {{0, 0, 28.346456692913385, 200}, {-1.5, 10, 2, 3}};
    });
    EXPECT_EQ(contentOf(path), "q 100 0 0 200 0 0 cm /Im0 Do Q\n"
                               "1 1 1 rg\n0 0 28.346456692913385 200 re f\n-1.5 10 2 3 re f\n");
    EXPECT_EQ(render(path).at(14, 100), (std::array{255, 255, 255}));
    EXPECT_EQ(render(path).at(50, 100), (std::array{0, 0, 0}));
}

TEST_F(PdfPageWriterTest, numbersKeepTheirPointInACommaLocale) {
    std::setlocale(LC_ALL, "");
    const std::string path = page([](TestPage& page) {
        page.whiteAreas = {{0.5, 1.25, 2.5, 3.5}};
    });
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(contentOf(path), "1 1 1 rg\n0.5 1.25 2.5 3.5 re f\n");
}

TEST_F(PdfPageWriterTest, anEmptyAreaPaintsNothing) {
    const std::string path = page([](TestPage& page) {
        page.whiteAreas = {{0, 100, 100, 0}, {50, 0, 0, 200}};
    });
    EXPECT_EQ(contentOf(path), "1 1 1 rg\n");
}

TEST_F(PdfPageWriterTest, anAreaBeyondEveryPageIsCutToTheLargest) {
    const std::string path = page([](TestPage& page) {
        page.whiteAreas = {{-1e9, -20000, 2e9, 30000}, {20000, 0, 10, 10},
                           {0, 0, infinity, 10},       {-infinity, 0, infinity, 10},
                           {notANumber, 0, 10, 10},    {0, 0, 10, notANumber}};
    });
    EXPECT_EQ(contentOf(path), "1 1 1 rg\n-14400 -14400 28800 24400 re f\n0 0 14400 10 re f\n");
}

TEST_F(PdfPageWriterTest, namesEveryIntent) {
    std::string contents;
    for (const RenderingIntent intent : allCases<RenderingIntent>())
        contents += contentOf(page([&](TestPage& page) {
            page.space = colorSpace("RGB ", 3);
            page.intent = intent;
        }));
    EXPECT_EQ(contents, "/Perceptual ri\n/CS0 cs\n/RelativeColorimetric ri\n/CS0 cs\n"
                        "/Saturation ri\n/CS0 cs\n/AbsoluteColorimetric ri\n/CS0 cs\n");
}

TEST_F(PdfPageWriterTest, theFillSpaceIsTheProfile) {
    const std::string path = page([](TestPage& page) { page.space = colorSpace("CMYK", 4); });
    EXPECT_EQ(contentOf(path), "/Perceptual ri\n/CS0 cs\n");
    const int profile = objectHolding(path, "/N 4");
    EXPECT_THAT(objectText(path, profile), testing::HasSubstr("/Alternate /DeviceCMYK"));
    EXPECT_EQ(rawStream(path, profile), textOf(profileHeader("CMYK")));
    EXPECT_THAT(objectText(path, objectHolding(path, "/Type /Page ")),
                testing::HasSubstr("/CS0 [ /ICCBased " + std::to_string(profile) + " 0 R ]"));
}

TEST_F(PdfPageWriterTest, aLabSpaceHasItsRange) {
    const std::string path =
        page([](TestPage& page) { page.space = colorSpace("Lab ", 3, false); });
    const std::string profile = objectText(path, objectHolding(path, "/N 3"));
    EXPECT_THAT(profile, testing::HasSubstr("/Range [ 0 100 -128 127 -128 127 ]"));
    EXPECT_THAT(profile, testing::Not(testing::HasSubstr("/Alternate")));
}

TEST_F(PdfPageWriterTest, intentAndSpaceStandBeforeTheImageAndWhiteBehindIt) {
    const FakeBitmap bitmap = smallBitmap();
    const std::string path = page([&](TestPage& page) {
        page.intent = RenderingIntent::absolute;
        page.space = colorSpace("RGB ", 3);
        page.draw(bitmap, {10, 20, 30.5, 40});
        page.whiteAreas = {{0, 0, 100, 10}};
    });
    EXPECT_EQ(contentOf(path), "/AbsoluteColorimetric ri\n/CS0 cs\n"
                               "q 30.5 0 0 40 10 20 cm /Im0 Do Q\n"
                               "1 1 1 rg\n0 0 100 10 re f\n");
}

TEST_F(PdfPageWriterTest, aPhotoIsConvertedIntoTheFillSpaceWithTheCurrentIntent) {
    const FakeBitmap bitmap = smallBitmap();
    const auto space = colorSpace("CMYK", 4);
    const std::string path = page([&](TestPage& page) {
        page.intent = RenderingIntent::saturation;
        page.space = space;
        page.draw(bitmap, {0, 0, 100, 100});
    });
    ASSERT_EQ(bitmap.asked.size(), 1U);
    ASSERT_TRUE(bitmap.asked[0].has_value());
    EXPECT_EQ(bitmap.asked[0]->space, space);
    EXPECT_EQ(bitmap.asked[0]->intent, RenderingIntent::saturation);
    const std::string image = objectText(path, objectHolding(path, "/Subtype /Image"));
    EXPECT_THAT(image, testing::HasSubstr("/ColorSpace /DeviceCMYK"));
    EXPECT_THAT(readFileText(path), testing::Not(testing::HasSubstr("/OutputIntents")));
}

TEST_F(PdfPageWriterTest, aSpaceThatIsNoDestinationLeavesThePhotoAsItIs) {
    const FakeBitmap bitmap = smallBitmap();
    const std::string path = page([&](TestPage& page) {
        page.space = colorSpace("CMYK", 4, false);
        page.draw(bitmap, {0, 0, 100, 100});
    });
    ASSERT_EQ(bitmap.asked.size(), 1U);
    EXPECT_FALSE(bitmap.asked[0].has_value());
    EXPECT_THAT(contentOf(path), testing::StartsWith("/Perceptual ri\n/CS0 cs\n"));
}

TEST_F(PdfPageWriterTest, aPhotoWhoseRowsCannotBeHadLeavesNoPage) {
    FakeBitmap bitmap = smallBitmap();
    bitmap.cannotBeHad = true;
    const std::string path = folder.path("page.pdf");
    EXPECT_EQ(writePage(path, [&](TestPage& page) { page.draw(bitmap, {0, 0, 100, 100}); }), "");
    EXPECT_FALSE(std::filesystem::exists(path));
}

class VastBitmap final : public Bitmap {
public:
    [[nodiscard]] PixelSize pixelSize() const override { return {1, 1}; }
    [[nodiscard]] std::optional<JpegStream> jpegStream() const override { return {}; }
    [[nodiscard]] std::unique_ptr<RowSource> rows(const std::optional<ColorTarget>&,
                                                  const std::optional<PixelRect>&) const override {
        throw std::bad_alloc();
    }
};

TEST_F(PdfPageWriterTest, memoryThatRunsOutLeavesNoPage) {
    const std::string path = folder.path("page.pdf");
    const VastBitmap vast;
    EXPECT_EQ(writePage(path, [&](TestPage& page) { page.draw(vast, {0, 0, 9, 9}); }), "");
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(PdfPageWriterTest, aRectangleWithoutAreaOrEndShowsNoImage) {
    const FakeBitmap bitmap = smallBitmap();
    for (const RectPoints rect :
         {RectPoints{0, 0, 0, 10}, RectPoints{0, 0, 10, 0}, RectPoints{0, 0, -10, 10},
          RectPoints{0, 0, infinity, 10}, RectPoints{0, -infinity, 10, 10},
          RectPoints{0, 0, 10, notANumber}, RectPoints{notANumber, 0, 10, 10},
          RectPoints{0, 0, 1e-13, 10}, RectPoints{0, 0, 10, 1e12}, RectPoints{1e12, 0, 9, 9}})
        EXPECT_EQ(contentOf(page([&](TestPage& page) { page.draw(bitmap, rect); })), "");
    EXPECT_TRUE(bitmap.asked.empty());
}

TEST_F(PdfPageWriterTest, aPhotoLargerThanThePageIsDrawnWhole) {
    const FakeBitmap bitmap = smallBitmap();
    const std::string path = page([&](TestPage& page) {
        page.draw(bitmap, {-1000000, -50, 2000000, 300});
    });
    EXPECT_EQ(contentOf(path), "q 2000000 0 0 300 -1000000 -50 cm /Im0 Do Q\n");
}

TEST_F(PdfPageWriterTest, aFileThatIsThereAlreadyStays) {
    const std::string path = page([](TestPage&) {});
    const std::string before = readFileText(path);
    EXPECT_FALSE(writePdfPage(path, {.size = {10, 10}}));
    EXPECT_EQ(readFileText(path), before);
}

} // namespace
} // namespace lumivert
