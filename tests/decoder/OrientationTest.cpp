#include "decoder/HeifPhotos.h"
#include "decoder/Strips.h"
#include "decoder/TestPhotos.h"

#include <gtest/gtest.h>

namespace lumivert::decoder {
namespace {

constexpr PixelSize stored{5, 3};

// Where the sample of a stored row and column belongs, by the words of Exif's table: which side of
// the scene the 0th row and the 0th column are.
std::pair<int, int> uprightPlace(int row, int column, int orientation) {
    const int lastRow = stored.height - 1 - row;
    const int lastColumn = stored.width - 1 - column;
    switch (orientation) {
    case 2: // row: top, column: right
        return {lastColumn, row};
    case 3: // bottom, right
        return {lastColumn, lastRow};
    case 4: // bottom, left
        return {column, lastRow};
    case 5: // left, top
        return {row, column};
    case 6: // right, top
        return {lastRow, column};
    case 7: // right, bottom
        return {lastRow, lastColumn};
    case 8: // left, bottom
        return {row, lastColumn};
    default: // top, left
        return {column, row};
    }
}

int sampleOf(int column, int row) {
    return 16 * row + column + 1;
}

// Without loss, and by a container whose orientation is a tag of its own.
std::string tiff(int orientation) {
    auto image = test::image8(stored, 1, [](int x, int y, int) { return sampleOf(x, y); }).copy();
    image.set("orientation", orientation);
    return test::saved(image, ".tif");
}

PixelSize uprightSize(int orientation) {
    return orientation >= 5 ? PixelSize{stored.height, stored.width} : stored;
}

TEST(Orientation, makesRowsUpright) {
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const auto rows = test::readRows(tiff(orientation));
        ASSERT_TRUE(rows) << orientation;
        EXPECT_EQ(rows->size, uprightSize(orientation)) << orientation;
        for (int row = 0; row < stored.height; ++row)
            for (int column = 0; column < stored.width; ++column) {
                const auto [x, y] = uprightPlace(row, column, orientation);
                EXPECT_EQ(rows->at(x, y, 0), sampleOf(column, row)) << orientation;
            }
    }
}

// Containers that carry it in a block of Exif.
TEST(Orientation, makesPngAndWebpUpright) {
    for (const char* suffix : {".png", ".webp"})
        for (int orientation = 1; orientation <= 8; ++orientation) {
            SCOPED_TRACE(suffix + std::to_string(orientation));
            auto image =
                test::image8(stored, 3, [](int x, int y, int) { return sampleOf(x, y); }).copy();
            const std::string exif =
                std::string("Exif\0\0", 6) +
                test::ExifBuilder{.orientation = static_cast<std::uint16_t>(orientation)}.bytes();
            image.set("exif-data", nullptr, const_cast<char*>(exif.data()), exif.size());
            image.set("orientation", orientation);
            vips::VOption* options = vips::VImage::option();
            if (std::string_view(suffix) == ".webp")
                options->set("lossless", true);
            const auto rows = test::readRows(test::saved(image, suffix, options));
            ASSERT_TRUE(rows);
            ASSERT_EQ(rows->size, uprightSize(orientation));
            const auto [x, y] = uprightPlace(0, stored.width - 1, orientation);
            EXPECT_EQ(rows->at(x, y, 0), sampleOf(stored.width - 1, 0));
        }
}

// ISO/IEC 23008-12: the boxes hold, in the order of the picture's properties. The two orders of a
// quarter turn and an exchange end in different orientations.
TEST(Orientation, ofHeifIsThatOfItsBoxesInTheirOrderWhateverItsExifSays) {
    using Turns = std::vector<std::pair<std::string, std::uint64_t>>;
    const std::vector<std::pair<Turns, int>> orientations{
        {{}, 1},
        {{{"imir", 1}}, 2},
        {{{"irot", 2}}, 3},
        {{{"imir", 0}}, 4},
        {{{"irot", 1}, {"imir", 0}}, 5},
        {{{"imir", 1}, {"irot", 1}}, 5},
        {{{"irot", 3}}, 6},
        {{{"irot", 1}, {"imir", 1}}, 7},
        {{{"imir", 0}, {"irot", 1}}, 7},
        {{{"irot", 1}}, 8},
    };
    constexpr int block = 32;
    int made = 0;
    for (const bool isAv1 : {true, false})
        for (const auto& [turns, orientation] : orientations)
            for (const int ofExif : {0, 1, 6, 7}) {
                test::HeifPhoto photo{.isAv1 = isAv1, .bits = 8, .color = [](int x, int y) {
                                          const double grey = sampleOf(x / block, y / block) / 50.0;
                                          return std::array{grey, grey, grey};
                                      }};
                photo.size = {stored.width * block, stored.height * block};
                photo.turns = turns;
                if (ofExif != 0)
                    photo.exif =
                        test::ExifBuilder{.orientation = static_cast<std::uint16_t>(ofExif)}
                            .bytes();
                const auto file = photo.bytes();
                if (!file)
                    continue;
                SCOPED_TRACE(std::to_string(orientation) + ", Exif " + std::to_string(ofExif));
                const auto rows = test::readRows(*file);
                const auto screen = test::readRendition(*file, stored.width * block);
                ASSERT_TRUE(rows && screen);
                const PixelSize upright = uprightSize(orientation);
                const PixelSize pixels{upright.width * block, upright.height * block};
                ASSERT_EQ(rows->size, pixels);
                ASSERT_EQ(screen->size, pixels);
                for (int row = 0; row < stored.height; ++row)
                    for (int column = 0; column < stored.width; ++column) {
                        const auto [x, y] = uprightPlace(row, column, orientation);
                        EXPECT_NEAR(rows->at(x * block + block / 2, y * block + block / 2, 0),
                                    sampleOf(column, row) * 255 / 50.0, 2.5);
                    }
                ++made;
            }
    if (made == 0)
        GTEST_SKIP() << "libheif has no encoder here";
}

TEST(Orientation, cropsTheUprightPhoto) {
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const auto whole = test::readRows(tiff(orientation));
        const PixelRect crop{1, 1, 2, 2};
        const auto part = test::readRows(tiff(orientation), crop);
        ASSERT_TRUE(whole && part) << orientation;
        ASSERT_EQ(part->size, (PixelSize{2, 2}));
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 2; ++x)
                EXPECT_EQ(part->at(x, y, 0), whole->at(x + 1, y + 1, 0)) << orientation;
    }
}

TEST(Orientation, refusesACropThatIsNotInside) {
    for (const PixelRect crop : {PixelRect{0, 0, 6, 3},
                                 {-1, 0, 2, 2},
                                 {4, 0, 2, 1},
                                 {0, 0, 0, 1},
                                 {0, 2, 1, 2},
                                 {2147483647, 0, 2147483647, 1}})
        EXPECT_FALSE(test::readRows(tiff(1), crop));
}

TEST(Orientation, makesTheRenditionUpright) {
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const auto rendition = test::readRendition(tiff(orientation), 100);
        ASSERT_TRUE(rendition);
        EXPECT_EQ(rendition->size, uprightSize(orientation));
        const auto [x, y] = uprightPlace(0, stored.width - 1, orientation);
        const std::uint32_t grey = static_cast<std::uint32_t>(sampleOf(stored.width - 1, 0));
        EXPECT_EQ(rendition->words[static_cast<std::size_t>(y * rendition->size.width + x)],
                  0xff000000 | grey << 16 | grey << 8 | grey)
            << orientation;
    }
}

TEST(Orientation, swapsSizeAndDensityOfATurnedPhoto) {
    const test::ExifBuilder exif{.orientation = 6,
                                 .xResolution = {{100, 1}},
                                 .yResolution = {{200, 1}},
                                 .resolutionUnit = 2};
    const std::string jpeg = test::withExif(
        test::withoutSegments(test::saved(test::plain8({16, 8}, {1, 2, 3}), ".jpg"), 0xe1),
        exif.bytes());
    const auto photo = openPhoto(test::asBytes(jpeg), {});
    ASSERT_TRUE(photo);
    EXPECT_EQ(photo->uprightSize(), (PixelSize{8, 16}));
    EXPECT_EQ(photo->uprightDensity().x, 200);
    EXPECT_EQ(photo->uprightDensity().y, 100);
}

TEST(Strips, keepPixelsInAFileWithoutANameBeyondItsLimit) {
    // 257 MiB of one colour: more than is kept in memory.
    const auto large = vips::VImage::black(16448, 16384).linear(1, 7).cast(VIPS_FORMAT_UCHAR);
    const vips::VImage kept = keptWhole(large);
    EXPECT_EQ(kept.width(), 16448);
    EXPECT_EQ(kept.getpoint(16447, 16383), (std::vector<double>{7}));
}

} // namespace
} // namespace lumivert::decoder
