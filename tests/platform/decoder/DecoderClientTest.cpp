#include "platform/decoder/DecoderClient.h"

#include "model/FileUrl.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace lumivert {
namespace {

TEST(DecoderClient, readsThePhotosOfTheSampleFolder) {
    const char* samples = std::getenv("LUMIVERT_SAMPLES");
    if (!samples)
        GTEST_SKIP() << "LUMIVERT_SAMPLES is not set";
    DecoderClient client({.path = LUMIVERT_DECODER, .screenEdge = [] { return 2048; }});
    const std::vector<std::pair<std::string, PixelSize>> photos{
        {"tahoe.jpg", {2048, 1536}},
        {"exif-orientation-3.jpg", {1200, 1800}},
        {"exif-orientation-5.jpg", {1200, 1800}},
        {"exif-orientation-6.jpg", {1200, 1800}},
        {"exif-orientation-8.jpg", {1200, 1800}},
        {"broken-exif.jpg", {636, 227}},
        {"iphone_7.heic", {4032, 3024}},
        {"canon_eos_6d.dng", {1224, 816}},
        {"palette16.tif", {73, 43}},
        {"tiled.tif", {512, 384}},
    };
    for (const auto& [name, size] : photos) {
        SCOPED_TRACE(name);
        const auto image = client.decode(FileUrl::fromPath(std::string(samples) + "/" + name));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->representations().front(), size);
        const auto rows = image->bitmap()->rows(std::nullopt);
        ASSERT_TRUE(rows);
        Bytes buffer(rows->format().bytesPerRow() * static_cast<std::size_t>(size.height));
        EXPECT_EQ(rows->readRows(buffer), static_cast<std::size_t>(size.height));
        EXPECT_EQ(rows->readRows(buffer), 0u);
    }
}

} // namespace
} // namespace lumivert
