#include "platform/pdf/RowDeflater.h"

#include "fakes/FakeBitmap.h"
#include "platform/pdf/PdfTestTools.h"
#include "support/WithoutFurtherThreads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <zlib.h>

namespace lumivert {
namespace {

// Rows with the grain of a photo: neighbours differ by a few steps.
Bytes grainyRows(const RowFormat& format, int grain) {
    std::mt19937 generator(3);
    Bytes rows(format.bytesPerRow() * static_cast<std::size_t>(format.size.height));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto random = static_cast<int>(generator() >> 16);
        rows[i] = static_cast<std::byte>(100 + (grain == 0 ? 0 : random % grain));
    }
    return rows;
}

// What zlib makes of the stream; empty when it is no whole zlib stream, checksum included.
Bytes inflated(const Bytes& stream, std::size_t length) {
    Bytes result(length + 1);
    uLongf size = result.size();
    uLong used = stream.size();
    const int status = ::uncompress2(reinterpret_cast<Bytef*>(result.data()), &size,
                                     reinterpret_cast<const Bytef*>(stream.data()), &used);
    if (status != Z_OK || used != stream.size())
        return {};
    result.resize(size);
    return result;
}

// PNG, 9.2, filter type 2, for a whole image.
Bytes predicted(const RowFormat& format, const Bytes& rows) {
    const std::size_t rowBytes = format.bytesPerRow();
    Bytes result;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (i % rowBytes == 0)
            result.push_back(std::byte{2});
        const int above = i < rowBytes ? 0 : std::to_integer<int>(rows[i - rowBytes]);
        result.push_back(static_cast<std::byte>(std::to_integer<int>(rows[i]) - above));
    }
    return result;
}

struct Deflated {
    bool whole = false;
    Bytes stream;
};

Deflated deflate(const RowFormat& format, const Bytes& rows, DeflateShape shape,
                 std::optional<int> breakBefore = std::nullopt) {
    FakeRowSource source(format, sharedBytes(rows));
    source.breakBefore = breakBefore;
    Deflated result;
    result.whole = deflateRows(
        source,
        [&](std::span<const std::byte> piece) {
            result.stream.insert(result.stream.end(), piece.begin(), piece.end());
            return true;
        },
        shape);
    return result;
}

TEST(RowDeflater, zlibReadsItHoweverTheWorkIsDivided) {
    const RowFormat format{{501, 203}, 3, 8, {}};
    for (const int grain : {0, 2, 40, 256}) {
        const Bytes rows = grainyRows(format, grain);
        const Bytes expected = predicted(format, rows);
        for (const std::size_t chunkBytes : {1UL, 20'000UL, 100'000UL, 1UL << 20})
            for (const int workers : {0, 1, 3}) {
                const Deflated result = deflate(format, rows, {chunkBytes, workers});
                EXPECT_TRUE(result.whole);
                EXPECT_TRUE(inflated(result.stream, expected.size()) == expected)
                    << "grain " << grain << ", chunks of " << chunkBytes << ", " << workers
                    << " workers";
            }
    }
}

// Smooth rows, whose chunks end amid the photo. Poppler has a decompression of its own, which reads
// further ahead than zlib's.
TEST(RowDeflater, popplerReadsSmoothCropsOverTheBordersOfChunks) {
    const TemporaryFolder folder;
    const RowFormat format{{1200, 740}, 3, 8, {}};
    Bytes rows(std::size_t{3} * 1200 * 760);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::size_t x = i / 3 % 1200;
        const double y = static_cast<double>(i / 3600) - 9;
        rows[i] = static_cast<std::byte>(
            128 + 100 * std::sin(static_cast<double>(x) * 0.003 + static_cast<double>(i % 3)) *
                      std::cos(y * 0.002));
    }
    const FakeBitmap whole({{1200, 760}, 3, 8, {}}, sharedBytes(rows));
    const Bytes shown(rows.begin() + 36'000, rows.end() - 36'000);
    const Bytes expected = predicted(format, shown);
    EXPECT_TRUE(inflated(deflate(format, shown, {}).stream, expected.size()) == expected);

    const std::string path = folder.path("smooth.pdf");
    ASSERT_EQ(writePage(path,
                        [&](TestPage& page) {
                            page.draw(whole, {0, 0, 99, 99}, PixelRect{0, 10, 1200, 740});
                        }),
              path);
    EXPECT_EQ(runCommand("pdfimages '" + path + "' '" + folder.path("image") + "'").output, "");
    const std::string ppm = readFileText(folder.path("image-000.ppm"));
    ASSERT_GT(ppm.size(), shown.size());
    EXPECT_TRUE(ppm.substr(ppm.size() - shown.size()) == textOf(sharedBytes(shown)));
}

TEST(RowDeflater, theNumberOfWorkersDoesNotChangeTheStream) {
    const RowFormat format{{501, 203}, 3, 8, {}};
    const Bytes rows = grainyRows(format, 40);
    EXPECT_TRUE(deflate(format, rows, {20'000, 0}).stream ==
                deflate(format, rows, {20'000, 3}).stream);
}

TEST(RowDeflater, plainAreasTakeNextToNothing) {
    const RowFormat format{{1000, 1000}, 3, 8, {}};
    EXPECT_LT(deflate(format, grainyRows(format, 0), {}).stream.size(), 36'000U);
}

TEST(RowDeflater, grainTakesLittleMoreThanItsEntropy) {
    const RowFormat format{{1000, 1000}, 3, 8, {}};
    // The difference of two even choices of 16 has 4.86 bits of entropy.
    EXPECT_LT(deflate(format, grainyRows(format, 16), {}).stream.size(),
              static_cast<std::size_t>(3'000'000 * 5.0 / 8));
}

TEST(RowDeflater, rowsThatBreakOffAreNotWhole) {
    const RowFormat format{{501, 203}, 3, 8, {}};
    const Bytes rows = grainyRows(format, 40);
    for (const int workers : {0, 2})
        for (const int row : {0, 1, 100, 202})
            EXPECT_FALSE(deflate(format, rows, {20'000, workers}, row).whole) << row;
}

// Ends without a word before the last row.
class ShortSource final : public RowSource {
public:
    explicit ShortSource(std::size_t atOnce)
        : m_atOnce(atOnce) {}
    [[nodiscard]] const RowFormat& format() const override { return m_format; }
    [[nodiscard]] std::optional<std::size_t> readRows(std::span<std::byte>) override {
        return ++m_calls < 3 ? m_atOnce : 0;
    }

private:
    RowFormat m_format{{10, 10}, 1, 8, {}};
    std::size_t m_atOnce;
    int m_calls = 0;
};

TEST(RowDeflater, tooFewRowsAreNotWhole) {
    ShortSource source(2);
    EXPECT_FALSE(deflateRows(source, [](auto) { return true; }));
}

TEST(RowDeflater, aSourceThatClaimsMoreRowsThanAskedForIsNotBelieved) {
    ShortSource source(100);
    EXPECT_FALSE(deflateRows(source, [](auto) { return true; }));
}

TEST(RowDeflater, aSinkThatRefusesEndsTheWork) {
    const RowFormat format{{501, 203}, 3, 8, {}};
    const SharedBytes rows = sharedBytes(grainyRows(format, 40));
    for (const int workers : {0, 2})
        for (int allowed = 0; allowed < 12; ++allowed) {
            FakeRowSource source(format, rows);
            int calls = 0;
            EXPECT_FALSE(
                deflateRows(source, [&](auto) { return calls++ < allowed; }, {30'000, workers}));
            EXPECT_EQ(calls, allowed + 1);
        }
}

TEST(RowDeflater, subtractsTheRowAbove) {
    const Bytes rows = {std::byte{1}, std::byte{2}, std::byte{3}, // above
                        std::byte{5}, std::byte{1}, std::byte{3}, //
                        std::byte{4}, std::byte{0}, std::byte{255}};
    Bytes output(8);
    predictUp(rows, 3, output);
    EXPECT_EQ(output, (Bytes{std::byte{2}, std::byte{4}, std::byte{255}, std::byte{0}, std::byte{2},
                             std::byte{255}, std::byte{255}, std::byte{252}}));
}

TEST(RowDeflater, writesBytesThatStandInOnePlaceOnly) {
    const RowFormat format{{1000, 300}, 3, 8, {}};
    Bytes rows = grainyRows(format, 40);
    for (std::size_t i = 20'000; i < 60'000; i += 3)
        rows[i] = std::byte{255};
    const Bytes expected = predicted(format, rows);
    EXPECT_TRUE(inflated(deflate(format, rows, {}).stream, expected.size()) == expected);
}

TEST(RowDeflater, compressesOnItsOwnThreadWhereThereIsNoOther) {
    const RowFormat format{{501, 203}, 3, 8, {}};
    const Bytes rows = grainyRows(format, 40);
    const Bytes withThreads = deflate(format, rows, {20'000, 3}).stream;
    const WithoutFurtherThreads none;
    const Deflated result = deflate(format, rows, {20'000, 3});
    EXPECT_TRUE(result.whole);
    EXPECT_TRUE(result.stream == withThreads);
}

} // namespace
} // namespace lumivert
