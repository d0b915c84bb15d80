#include "fakes/FakeBitmap.h"

#include "model/Models.h"
#include "platform/pdf/PdfTestTools.h"

#include <gtest/gtest.h>

namespace lumivert {
namespace {

std::string readAll(RowSource& source, std::size_t rowsAtOnce) {
    std::string result;
    Bytes buffer(rowsAtOnce * source.format().bytesPerRow());
    while (const auto count = source.readRows(buffer)) {
        if (*count == 0)
            return result;
        result.append(reinterpret_cast<const char*>(buffer.data()),
                      *count * source.format().bytesPerRow());
    }
    return "broken";
}

TEST(FakeBitmap, handsOutItsRowsOnce) {
    const FakeBitmap bitmap({{2, 3}, 1, 8, {}}, bytesOf("abcdef"));
    EXPECT_EQ(readAll(*bitmap.rows({}), 2), "abcdef");
    EXPECT_EQ(readAll(*bitmap.rows({}), 100), "abcdef");
}

TEST(FakeBitmap, breaksOffWhereItIsTold) {
    FakeBitmap bitmap({{2, 3}, 1, 8, {}}, bytesOf("abcdef"));
    bitmap.breakBefore = 2;
    const auto source = bitmap.rows({});
    Bytes buffer(6);
    EXPECT_EQ(source->readRows(buffer), 2U);
    EXPECT_EQ(source->readRows(buffer), std::nullopt);
}

TEST(FakeBitmap, handsOutAPart) {
    const FakeBitmap bitmap({{3, 2}, 1, 16, {}}, bytesOf("aabbccddeeff"));
    EXPECT_EQ(readAll(*bitmap.rows({}, PixelRect{1, 0, 2, 2}), 5), "bbcceeff");
}

TEST(FakeBitmap, convertsIntoTheTargetsChannels) {
    const FakeBitmap bitmap({{2, 1}, 3, 8, profileHeader("RGB ")}, bytesOf("\x01zz\x10zz"));
    const auto space =
        std::make_shared<const ColorSpace>(ColorSpace{profileHeader("CMYK"), 4, true});
    const auto source = bitmap.rows(ColorTarget{space, RenderingIntent::relative});
    EXPECT_EQ(source->format().channels, 4);
    EXPECT_TRUE(source->format().profile.empty());
    EXPECT_EQ(readAll(*source, 1), "\xfe\xfe\xfe\xfe\xef\xef\xef\xef");
}

} // namespace
} // namespace lumivert
